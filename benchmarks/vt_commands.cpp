// What a changed value costs on its way to the bus: from the call of the setter to the frame in the transport, and to
// the answer of the terminal. The peer is the same frame sent by the node alone.
#include "implement/SprayerApplication.h"

#include "Host.h"
#include "HostClock.h"
#include "terminal/Terminal.h"

#include <VtObjects.h>

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <new>

using namespace IsoBusHost;

namespace {

std::size_t s_blocks = 0; // taken from the heap since the start

std::unique_ptr<CanTransport_c> openIsobus() {
  std::string error;
  return openTransport(Host::busAddress(0), error);
}

// The sprayer of the examples and a terminal on the bus inside the process.
class Screen_c {
public:
  Screen_c() {
    HostClock::turnByHand();
    m_sprayer.open(false);
    m_port = std::make_unique<CanPort_c>(openIsobus());
    m_node = std::make_unique<BusNode_c>(*m_port);
    m_terminal = std::make_unique<Terminal_c>(*m_node, TerminalSettings_s());
    for (int step = 0; step < 5000 && !m_sprayer.isConnected(); ++step) {
      run();
    }
    FunctionSettings_s settings;
    settings.name = 0xA000000000000001U;
    settings.preferredAddress = 200;
    m_peer = m_node->add(settings);
    for (int step = 0; step < 1000; ++step) {
      run();
    }
  }

  ~Screen_c() { m_sprayer.close(); }
  Screen_c(const Screen_c&) = delete;
  Screen_c& operator=(const Screen_c&) = delete;

  bool isConnected() const { return m_sprayer.isConnected(); }
  SprayerScreen_s& screen() { return m_sprayer.screen(); }

  // settle: lets the frame be taken and the terminal answer.
  void settle() {
    run();
    for (int step = 0; step < 100 && m_sprayer.commandsWaiting() > 0; ++step) {
      run();
    }
  }

  // sendFrame: sends such a command from a node without a VT client.
  void sendFrame(uint32_t value) {
    const std::array<uint8_t, 8> command = {
        0xA8, 0x79, 0x05, 0xFF, static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8U), 0, 0};
    constexpr uint32_t toVt = 0xE700;
    m_node->send(*m_peer, toVt, 5, nobody, command.data(), command.size());
  }

private:
  static constexpr uint8_t nobody = 250; // an address that is free

  void run() {
    __IsoAgLib::getSchedulerInstance().runDueWork();
    m_terminal->poll();
    HostClock::advanceMs(1);
  }

  SprayerApplication_c m_sprayer;
  std::unique_ptr<CanPort_c> m_port;
  std::unique_ptr<BusNode_c> m_node;
  std::unique_ptr<Terminal_c> m_terminal;
  OwnFunction_c* m_peer = nullptr;
};

// One call a round, timed by itself; the terminal answers between the rounds.
template <class Call_c>
void timeEachCall(benchmark::State& state, Screen_c& screen, const Call_c& call) {
  if (!screen.isConnected()) {
    state.SkipWithError("no connection");
    return;
  }
  uint32_t value = 0;
  std::size_t blocks = 0;
  for (auto round : state) {
    static_cast<void>(round);
    const std::size_t before = s_blocks;
    const auto began = std::chrono::steady_clock::now();
    call(++value % 2 == 0 ? value : value + 1000);
    const auto ended = std::chrono::steady_clock::now();
    blocks += s_blocks - before;
    state.SetIterationTime(std::chrono::duration<double>(ended - began).count());
    screen.settle();
  }
  state.counters["heap_blocks"] = static_cast<double>(blocks);
}

void changedValue(benchmark::State& state) {
  Screen_c screen;
  timeEachCall(state, screen, [&screen](uint32_t value) { SetVtObject(screen.screen().speed.object, value, false); });
}

void bareFrame(benchmark::State& state) {
  Screen_c screen;
  timeEachCall(state, screen, [&screen](uint32_t value) { screen.sendFrame(value); });
}

BENCHMARK(changedValue)->UseManualTime();
BENCHMARK(bareFrame)->UseManualTime();

} // namespace

__attribute__((noinline)) void* operator new(std::size_t size) {
  ++s_blocks;
  void* block = std::malloc(size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

__attribute__((noinline)) void operator delete(void* block) noexcept {
  std::free(block);
}

__attribute__((noinline)) void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
