// What has changed on the terminal, as data; ChangeText.h makes lines of it.
#pragma once

#include "ObjectTypes.h"

#include <cstdint>
#include <string>
#include <vector>

enum class ChangeKind_e : uint8_t {
  // Of a client.
  clientCame,  // a working set has begun its maintenance
  clientLost,  // text: why
  poolTaken,   // newValue: objects
  poolRefused, // object, other: parent; text: why
  poolDeleted, // by the client
  shown,       // the client's masks are the ones on the screen now
  stored,      // a version; text: its label. loaded and deleted likewise
  loaded,
  deleted,
  inputAnswered,   // newValue: function code of the message that the client has answered
  inputUnanswered, // the same, no answer in time
  // Of an object.
  attribute,     // attribute, oldValue, newValue
  text,          // oldText, newText
  childPosition, // other: the child; oldValue, newValue: x in the low half, y in the high half
  item,          // index, oldValue, newValue: ids
  point,         // index; oldValue, newValue as of childPosition
  label,         // newValue: string variable, other: designator
  focus,         // newValue: 0 lost, 1 focus, 2 open for input
  locked,        // newValue: 0, 1
  // Without an object.
  audioSignal, // newValue: how often
  audioVolume, // newValue: percent
};

struct Change_s {
  ChangeKind_e kind = ChangeKind_e::attribute;
  uint16_t object = noObject;
  Attribute_e attribute = Attribute_e::none;
  uint32_t oldValue = 0;
  uint32_t newValue = 0;
  uint16_t other = noObject;
  unsigned int index = 0;
  std::vector<uint8_t> oldText; // as it came from the bus
  std::vector<uint8_t> newText;
  std::string text;
};
