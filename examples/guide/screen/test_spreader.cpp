// Tests the spreader without a bus and without a terminal: its events are called as the stack calls them.
#include "Spreader.h"

#include "Journal.h"

#include <cstdio>

namespace {

int s_failed = 0;

void check(bool holds, const char* sentence) {
  std::printf("%s: %s\n", holds ? "ok" : "FAILED", sentence);
  s_failed += holds ? 0 : 1;
}

} // namespace

int main() {
  using IsoBusHost::Journal::entries;
  Spreader_c spreader;
  IsoBusHost::Journal::setVtCalls(true);

  spreader.refresh();
  check(spreader.screen.range.record.value == 60, "1200 kg at 200 kg/ha reach for 6.0 ha");
  const std::size_t calls = entries().size();
  check(calls > 0 && entries().back().rfind("vt 1402: ", 0) == 0, "what is new is handed to the stack");

  spreader.refresh();
  check(entries().size() == calls, "what the screen shows already is not sent again");

  spreader.screen.rate.record.value = 150; // as the stack stores what the operator enters
  spreader.eventNumericValue(1501, 150);
  check(spreader.screen.range.record.value == 80, "a new rate changes the range");

  spreader.eventSoftKey(Screen_s::startKeyCode, 1201, 1200, IsoAgLib::VtKeyPressed);
  check(spreader.screen.speed.record.value == 82, "the key starts the spreader");
  check(GetVtValue(spreader.screen.state.object) == std::string("\xC9pandage        "), "the state is ISO 8859-1");
  return s_failed;
}
