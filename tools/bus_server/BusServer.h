// Virtual CAN buses between TCP clients on the loopback interface.
//
//   Order of use: start, run, counters.
//   Threads: one; run() waits in poll().
#pragma once

#include "Capture.h"
#include "ClientSession.h"
#include "FileDescriptor.h"
#include "ServerOptions.h"

#include <chrono>
#include <list>
#include <memory>
#include <string>

struct ServerCounters_s {
  uint64_t clients = 0;   // that were greeted
  uint64_t refused = 0;   // sent away at once, for want of room
  uint64_t closed = 0;    // sent away for endless text without a message
  uint64_t frames = 0;    // that clients sent
  uint64_t dropped = 0;   // answers and frames for clients that did not read
  uint64_t malformed = 0; // messages that could not be read or were out of place
};

class BusServer_c : public ClientSession_c::Owner_c {
public:
  static constexpr size_t mostClients = 200;
  static constexpr size_t mostUnsent = 1048576; // bytes that wait for a client

  // start: listens and opens the files.
  //
  //   Gives    an empty text, or one line that says what failed
  std::string start(const ServerOptions_s& options);

  uint16_t port() const { return m_port; }

  // run: serves until stopDescriptor becomes readable.
  void run(int stopDescriptor);

  ServerCounters_s counters() const;

  // failure: returns one line that names a file that could not take all frames; empty when all is well.
  std::string failure() const;

private:
  using Clock = std::chrono::steady_clock;

  struct Client_s {
    Client_s(IsoBusHost::FileDescriptor_c connection, unsigned int buses, Owner_c& owner)
        : socket(std::move(connection)), session(buses, owner) {}

    IsoBusHost::FileDescriptor_c socket; // closed: to be removed
    ClientSession_c session;
    std::string output;
    Clock::time_point holdUntil{};  // nothing is sent before
    Clock::time_point leaveUntil{}; // while leaving: closed then at the latest
    bool leaving = false;
  };

  void onAnswer(ClientSession_c& session, const std::string& text) override;
  void onFrame(ClientSession_c& session, const IsoBusHost::CanFrame_s& frame) override;

  std::string listenOn(uint16_t port);
  std::string openFiles(const ServerOptions_s& options);
  bool serveOnce(int stopDescriptor);
  int waitMs(Clock::time_point now) const;
  void acceptClients();
  bool acceptClient();
  bool refuseForWantOfDescriptors();
  void serve(Client_s& client);
  void discard(Client_s& client);
  void write(Client_s& client);
  void post(Client_s& client, const std::string& text);
  void beginLeaving(Client_s& client);
  void removeClosed();
  void record(unsigned int bus, const IsoBusHost::CanFrame_s& frame, uint64_t wallClockUs);

  ServerOptions_s m_options;
  IsoBusHost::FileDescriptor_c m_listener;
  IsoBusHost::FileDescriptor_c m_spare; // given up for a moment when the process may open no more
  uint16_t m_port = 0;
  std::list<Client_s> m_clients;
  std::unique_ptr<IsoBusHost::Capture_c> m_capture;
  std::unique_ptr<IsoBusHost::Capture_c> m_log;
  ServerCounters_s m_counters;
};
