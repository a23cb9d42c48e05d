// The bus server as a child process, and plain sockets to it.
//
//   Every wait ends after some seconds; only a test that fails gets there.
#pragma once

#include "FileDescriptor.h"

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace TestSupport {

// busServerProgram: path of the program.
std::string busServerProgram();

// BusServerProcess_c: started on a free port; whatever happens, it is gone with its object.
class BusServerProcess_c {
public:
  // Takes    mostDescriptors: how many descriptors the child may have open, 0 for no limit of its own
  explicit BusServerProcess_c(const std::vector<std::string>& options = {}, unsigned int mostDescriptors = 0);
  BusServerProcess_c(const BusServerProcess_c&) = delete;
  BusServerProcess_c& operator=(const BusServerProcess_c&) = delete;
  ~BusServerProcess_c();

  uint16_t port() const { return m_port; }
  std::string address(const std::string& bus) const;

  struct End_s {
    int exitStatus = -1; // -1 when a signal ended it
    std::string summary; // standard output behind the first line
    std::string standardError;
  };
  End_s stop(int signal);

  // freeze: the server stays connected and neither reads nor writes any more.
  void freeze() const;

private:
  pid_t m_process = -1;
  IsoBusHost::FileDescriptor_c m_output;
  IsoBusHost::FileDescriptor_c m_error;
  uint16_t m_port = 0;
};

// SocketClient_c: says and hears bytes.
class SocketClient_c {
public:
  explicit SocketClient_c(uint16_t port);

  // say: gives false once the other side takes no more bytes.
  bool say(const std::string& text);

  // hear: returns the next message with its brackets and what stands in front of it; empty at the end of the
  // connection.
  std::string hear();

  // hearOnce: returns what one recv() gives.
  std::string hearOnce();

  // join: goes through greeting, open and raw mode.
  void join(const std::string& bus);

  // echo: waits until the server has done all that this client said before; gives the messages that came meanwhile.
  std::vector<std::string> echo();

  // reset: ends the connection with a reset instead of a proper end.
  void reset();
  void close() { m_socket.close(); }

  // endOwnSide: says no more, and goes on hearing.
  void endOwnSide();

private:
  IsoBusHost::FileDescriptor_c m_socket;
  std::string m_heard;
  size_t m_taken = 0; // bytes of m_heard that were given out
};

} // namespace TestSupport
