// What one client of the bus server may say and what it is answered: the raw mode of the socketcand protocol, without
// the sockets.
#pragma once

#include "CanFrame.h"
#include "SocketcandText.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class ClientSession_c {
public:
  class Owner_c {
  public:
    virtual ~Owner_c() = default;
    virtual void onAnswer(ClientSession_c& session, const std::string& text) = 0;

    // onFrame: the client, which is in raw mode, sends a frame to its bus.
    virtual void onFrame(ClientSession_c& session, const IsoBusHost::CanFrame_s& frame) = 0;
  };

  // Takes    buses: number of buses, can0 and up; the owner outlives the session
  ClientSession_c(unsigned int buses, Owner_c& owner) : m_owner(owner), m_buses(buses) {}

  // greet: says "< hi >".
  void greet();

  // feed: takes what has arrived, divided in any way. After the end of the session it is ignored.
  void feed(std::string_view bytes);

  bool isInRawMode() const { return m_rawMode; }

  // bus: number of the client's bus; empty before it has opened one.
  std::optional<unsigned int> bus() const { return m_bus; }

  // isOver: whether the client has sent so much without a message that it is to be closed.
  bool isOver() const { return m_over; }

  // malformed: returns how many messages could not be read or were out of place.
  uint64_t malformed() const { return m_refused + m_reader.dropped(); }

private:
  void takeMessage(std::string_view message);
  std::string answerTo(std::string_view command, std::string_view message);
  std::string openBus(std::string_view message);
  std::string enterRawMode();
  std::string sendFrame(std::string_view message);
  std::string refuse(const std::string& reason);

  Owner_c& m_owner;
  unsigned int m_buses;
  std::optional<unsigned int> m_bus;
  bool m_rawMode = false;
  bool m_over = false;
  uint64_t m_refused = 0;
  IsoBusHost::SocketcandReader_c m_reader;
};

// busNumber: reads "can0", "can1", ...; empty for another text or a number of buses and more.
std::optional<unsigned int> busNumber(std::string_view name, unsigned int buses);
