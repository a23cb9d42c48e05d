// Feeds what a peer may say to both ends of the socketcand protocol: the bus server's session and the client's reading.
//
// The first byte of the input divides the rest into pieces; what is read must not depend on it.
#include "SocketcandText.h"
#include "bus_server/ClientSession.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

using namespace IsoBusHost;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr unsigned int buses = 2;
constexpr uint64_t someTimeUs = 1690000000123456;

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

// messageOf: what stands between the brackets of one message.
std::string messageOf(const std::string& text) {
  std::vector<std::string> messages;
  SocketcandReader_c reader;
  reader.feed(text, [&messages](std::string_view message) {
    messages.emplace_back(message);
    return true;
  });
  require(messages.size() == 1 && reader.dropped() == 0 && reader.unfinished() == 0);
  return messages.front();
}

void checkFrame(const CanFrame_s& frame) {
  require(frame.length <= 8 && frame.identifier <= (frame.extended ? 0x1FFFFFFFU : 0x7FFU));
  require(readSendMessage(messageOf(sendText(frame))) == frame);
  require(readFrameMessage(messageOf(frameText(frame, someTimeUs))) == frame);
}

class CheckingOwner_c : public ClientSession_c::Owner_c {
public:
  void onAnswer(ClientSession_c&, const std::string& text) override {
    const std::string message = messageOf(text);
    require(message == "hi" || message == "ok" || message == "echo" || message.substr(0, 6) == "error ");
  }

  void onFrame(ClientSession_c& session, const CanFrame_s& frame) override {
    require(session.isInRawMode() && session.bus() && *session.bus() < buses);
    checkFrame(frame);
  }
};

using Pieces = std::vector<std::string_view>;

Pieces divide(std::string_view text, size_t pieceSize) {
  Pieces pieces;
  for (; !text.empty(); text.remove_prefix(std::min(text.size(), pieceSize))) {
    pieces.push_back(text.substr(0, pieceSize));
  }
  return pieces;
}

std::vector<std::string> messagesOf(const Pieces& pieces, uint64_t& dropped) {
  std::vector<std::string> messages;
  SocketcandReader_c reader;
  for (const std::string_view piece : pieces) {
    reader.feed(piece, [&messages](std::string_view message) {
      require(message.size() <= SocketcandReader_c::longestMessage);
      require(message.find_first_of("<>") == std::string_view::npos);
      messages.emplace_back(message);
      return true;
    });
  }
  dropped = reader.dropped();
  return messages;
}

void playServer(const Pieces& pieces) {
  CheckingOwner_c owner;
  ClientSession_c session(buses, owner);
  session.greet();
  for (const std::string_view piece : pieces) {
    session.feed(piece);
  }
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const Pieces pieces = divide(text, data[0] + size_t{1});
  playServer(pieces);
  uint64_t dropped = 0;
  uint64_t droppedWhole = 0;
  const std::vector<std::string> messages = messagesOf(pieces, dropped);
  require(messages == messagesOf({text}, droppedWhole) && dropped == droppedWhole);
  for (const std::string& message : messages) {
    if (const auto frame = readFrameMessage(message)) {
      checkFrame(*frame);
    }
  }
  return 0;
}
