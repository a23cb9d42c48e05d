// Changes and objects of the terminal as lines of text.
#pragma once

#include "Terminal.h"

#include <string>

// changeText: one change and the object's new state, without a line end: "client 128: output number 112: value 0 -> 7
// (width 100, ..., value 7, shows \"7.0\")".
//
//   Takes    model: null where the client is gone
std::string changeText(const TerminalClient_s& client, const Change_s& change, const WorkingSetModel_c* model);

// objectText: type, id and every attribute: "output number 112 (width 100, ...)".
std::string objectText(const WorkingSetModel_c& model, const TerminalObject_s& object);

// clientText: "client 128: mask 100, soft keys 101, shown".
std::string clientText(const TerminalClient_s& client);

// shownNumber: a number as the field shows it (ISO 11783-6): (value + offset) x scale, with its decimals.
std::string shownNumber(const TerminalObject_s& field, uint32_t value);

// fontTypeOf: of the font that an object, or a field that shows it, is drawn with; 0 where there is none.
uint8_t fontTypeOf(const WorkingSetModel_c& model, const TerminalObject_s& object);
