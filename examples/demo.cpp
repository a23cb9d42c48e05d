// The demonstration: a sprayer shows a minute's drive on a virtual terminal, once sending only what has changed and
// once everything; an operator presses a key and enters a number.
//
// On buses inside the process the clock is turned by hand: the minute takes as long as the work in it.
#include "ApplicationDesk.h"
#include "implement/Drive.h"
#include "implement/DriveData.h"
#include "implement/SprayerApplication.h"

#include "Host.h"
#include "HostClock.h"
#include "VtClientHost.h"
#include "terminal/ChangeText.h"
#include "terminal/Terminal.h"
#include "terminal/TerminalText.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <sstream>

using namespace IsoBusHost;

namespace {

constexpr uint64_t refreshMs = 1000 / Drive_c::rowsPerSecond;
constexpr uint64_t patienceMs = 20000; // for a claimed address, the terminal and the pool
constexpr uint64_t settleMs = 2000;    // for the last commands and their answers
constexpr double busBitsPerMs = 250;

// Traffic_s: what the ISOBUS has carried.
struct Traffic_s {
  uint64_t frames = 0;
  uint64_t bits = 0;
};

// Pass_s: one run through the drive.
struct Pass_s {
  std::size_t refreshes = 0;
  uint64_t setterCalls = 0;
  uint64_t commands = 0;
  Traffic_s traffic;
  uint64_t milliseconds = 0;
  std::size_t mostWaiting = 0;

  double busLoad() const {
    return milliseconds == 0 ? 0
                             : static_cast<double>(traffic.bits) / (busBitsPerMs * static_cast<double>(milliseconds));
  }
};

class Demonstration_c {
public:
  // Takes    seconds: the demonstration gives up after them; 0: never
  Demonstration_c(SprayerApplication_c& sprayer, std::unique_ptr<CanTransport_c> transport, int seconds)
      : m_sprayer(sprayer), m_seconds(seconds), m_port(std::move(transport)), m_node(m_port), m_terminal(m_node, {}) {
    m_port.observe([this](const CanFrame_s& frame, Direction_e, uint64_t) {
      ++m_traffic.frames;
      m_traffic.bits += frameBits(frame);
    });
  }

  // Each gives why it could not, empty when it could.
  std::string connect();
  std::string drive(const std::vector<DriveRow_s>& rows, bool force, Pass_s& pass);
  std::string operate();

  void printScreen(double second) const;
  const Terminal_c& terminal() const { return m_terminal; }
  uint8_t client() const { return m_sprayer.frame().getMyIdent(0)->nr(); }

private:
  std::string step(uint64_t untilMs);
  template <class Condition_c>
  std::string runUntil(uint64_t endMs, const Condition_c& condition);

  SprayerApplication_c& m_sprayer;
  int m_seconds;
  uint64_t m_startMs = HostClock::nowMs();
  CanPort_c m_port;
  BusNode_c m_node;
  Terminal_c m_terminal;
  Traffic_s m_traffic;
};

void printHeading(const std::string& text) {
  std::printf("\n%s\n\n", text.c_str());
}

void printLine(const char* label, const std::string& value) {
  std::printf("  %-26s%s\n", label, value.c_str());
}

void waitForWork(const CanPort_c& port, uint64_t dueMs) {
  constexpr uint64_t longestWaitMs = 100;
  const uint64_t nowMs = HostClock::nowMs();
  if (dueMs <= nowMs || port.hasPending()) {
    return;
  }
  std::vector<pollfd> descriptors = Host::pollDescriptors();
  descriptors.push_back({port.transport().descriptor(), POLLIN, 0});
  poll(descriptors.data(), static_cast<nfds_t>(descriptors.size()),
       static_cast<int>(std::min(dueMs - nowMs, longestWaitMs)));
}

// step: lets application and terminal do what is due, and the time go on, to untilMs at most.
std::string Demonstration_c::step(uint64_t untilMs) {
  const auto waitMs = static_cast<uint64_t>(__IsoAgLib::getSchedulerInstance().runDueWork());
  m_terminal.poll();
  if (!Host::lastError().empty()) {
    return Host::lastError();
  }
  if (!m_port.transport().isOpen()) {
    return "terminal: " + m_port.transport().error();
  }
  if (m_terminal.hasFailed()) {
    return "terminal: no address could be claimed";
  }
  if (m_seconds != 0 && HostClock::nowMs() - m_startMs >= static_cast<uint64_t>(m_seconds) * 1000) {
    return "not done within " + std::to_string(m_seconds) + " s";
  }
  if (HostClock::isTurnedByHand()) {
    HostClock::advanceMs(1);
  } else {
    waitForWork(m_port, std::min({HostClock::nowMs() + waitMs, m_terminal.nextDueMs(), untilMs}));
  }
  return "";
}

// runUntil: steps until the condition holds or the time has come.
template <class Condition_c>
std::string Demonstration_c::runUntil(uint64_t endMs, const Condition_c& condition) {
  std::string error;
  while (error.empty() && !condition() && HostClock::nowMs() < endMs) {
    error = step(endMs);
  }
  return error;
}

std::string Demonstration_c::connect() {
  const uint64_t startMs = HostClock::nowMs();
  std::string error =
      runUntil(startMs + patienceMs, [this] { return m_sprayer.isConnected() || !m_sprayer.refusal().empty(); });
  if (!error.empty()) {
    return error;
  }
  if (!m_sprayer.isConnected()) {
    return m_sprayer.refusal().empty() ? "no connection within " + std::to_string(patienceMs / 1000) + " s"
                                       : m_sprayer.refusal();
  }
  const WorkingSetModel_c* model = m_terminal.model(client());
  printLine("application, terminal",
            "addresses " + std::to_string(client()) + ", " + std::to_string(m_terminal.address()));
  printLine("object pool", std::to_string(m_sprayer.screen().all().size()) + " objects, " +
                               std::to_string(model == nullptr ? 0 : model->poolBytes().size()) + " bytes");
  printLine("connected", "after " + std::to_string(HostClock::nowMs() - startMs) + " ms");
  return "";
}

// isWorthALook: three moments of a drive; of the built-in one a pond, the headland, and the tank when it is low.
bool isWorthALook(std::size_t row, std::size_t rows) {
  return row == rows / 3 || row == rows * 8 / 15 || row == rows * 11 / 12;
}

std::string Demonstration_c::drive(const std::vector<DriveRow_s>& rows, bool force, Pass_s& pass) {
  const __IsoAgLib::VtClientConnection_c& connection = m_sprayer.connection();
  const Traffic_s trafficBefore = m_traffic;
  const uint64_t callsBefore = m_sprayer.setterCalls();
  const uint64_t commandsBefore = vtClientStatistics(connection).commandsSent;
  const uint64_t startMs = HostClock::nowMs();
  for (const DriveRow_s& row : rows) {
    m_sprayer.show(row, force);
    ++pass.refreshes;
    pass.mostWaiting = std::max(pass.mostWaiting, m_sprayer.commandsWaiting());
    std::string error = runUntil(startMs + pass.refreshes * refreshMs, [] { return false; });
    if (!error.empty()) {
      return error;
    }
    if (!force && isWorthALook(pass.refreshes - 1, rows.size())) {
      printScreen(row.seconds);
    }
  }
  pass.milliseconds = HostClock::nowMs() - startMs;
  pass.traffic = {m_traffic.frames - trafficBefore.frames, m_traffic.bits - trafficBefore.bits};
  pass.setterCalls = m_sprayer.setterCalls() - callsBefore;
  std::string error = runUntil(HostClock::nowMs() + settleMs, [this] { return m_sprayer.commandsWaiting() == 0; });
  pass.commands = vtClientStatistics(connection).commandsSent - commandsBefore;
  if (error.empty() && m_sprayer.failedCommands() > 0) {
    error = "the terminal has not done " + std::to_string(m_sprayer.failedCommands()) + " commands";
  }
  return error;
}

// --- What the terminal has on its screen

std::string shownText(const WorkingSetModel_c& model, const TerminalObject_s& object, const TerminalObject_s& storage) {
  const std::string text = toUtf8(storage.text, fontTypeOf(model, object));
  const std::size_t end = text.find_last_not_of(std::string(" \0", 2));
  return end == std::string::npos ? "" : text.substr(0, end + 1);
}

// View_c: reads what the terminal shows of the sprayer's objects.
class View_c {
public:
  View_c(const Terminal_c& terminal, uint8_t client, SprayerScreen_s& screen)
      : m_terminal(terminal), m_client(client), m_screen(screen) {}

  std::string number(uint16_t id) const {
    const TerminalObject_s* field = object(id);
    if (field == nullptr) {
      return "?";
    }
    const auto variable = static_cast<uint16_t>(field->value(Attribute_e::variable));
    const TerminalObject_s* storage = variable == noObject ? field : object(variable);
    return storage == nullptr ? "?" : shownNumber(*field, storage->value(Attribute_e::value));
  }

  std::string text(uint16_t id) const {
    const WorkingSetModel_c* model = m_terminal.model(m_client);
    const TerminalObject_s* field = object(id);
    if (model == nullptr || field == nullptr) {
      return "?";
    }
    const auto variable = static_cast<uint16_t>(field->value(Attribute_e::variable));
    const TerminalObject_s* storage = variable == noObject ? field : object(variable);
    return storage == nullptr ? "?" : shownText(*model, *field, *storage);
  }

  // The item that a list shows.
  std::string item(uint16_t id) const {
    const TerminalObject_s* list = object(id);
    const uint32_t index = list == nullptr ? UINT32_MAX : list->value(Attribute_e::value);
    return list == nullptr || index >= list->items.size() ? "?" : text(list->items[index]);
  }

  std::string sections() const {
    std::string row;
    for (Part_s<IsoAgLib::iVtObjectRectangle_c>& section : m_screen.section) {
      const TerminalObject_s* rectangle = object(section.record.object.ID);
      const bool isOpen =
          rectangle != nullptr && rectangle->value(Attribute_e::fillAttributes) == m_screen.openFill.record.object.ID;
      row += isOpen ? '#' : '.';
    }
    return row;
  }

  bool isHidden(uint16_t id) const {
    const TerminalObject_s* container = object(id);
    return container == nullptr || container->value(Attribute_e::hidden) != 0;
  }

private:
  const TerminalObject_s* object(uint16_t id) const { return m_terminal.object(m_client, id); }

  const Terminal_c& m_terminal;
  uint8_t m_client;
  SprayerScreen_s& m_screen;
};

void Demonstration_c::printScreen(double second) const {
  SprayerScreen_s& screen = m_sprayer.screen();
  const View_c view(m_terminal, client(), screen);
  std::printf("  after %2.0f s  %s km/h, %s m, %s l/min, %s l left   sections %s   %s\n", second,
              view.number(screen.speed.record.object.ID).c_str(), view.number(screen.width.record.object.ID).c_str(),
              view.number(screen.flow.record.object.ID).c_str(), view.number(screen.tank.record.object.ID).c_str(),
              view.sections().c_str(), view.item(screen.activity.record.object.ID).c_str());
  std::printf("              %s, %s, %s, %s\n", view.text(screen.stateLatin.record.object.ID).c_str(),
              view.text(screen.stateGreek.record.object.ID).c_str(),
              view.text(screen.stateCyrillic.record.object.ID).c_str(),
              view.text(screen.stateChinese.record.object.ID).c_str());
  if (!view.isHidden(screen.alarmBox.record.object.ID)) {
    std::printf("              alarm: %s\n", view.text(screen.alarmLine.record.object.ID).c_str());
  }
}

// --- The operator

std::string Demonstration_c::operate() {
  SprayerScreen_s& screen = m_sprayer.screen();
  const uint16_t key = screen.pageKey.record.object.ID;
  const uint16_t setupMask = screen.setupMask.record.object.ID;
  std::string error = m_terminal.key(client(), key, KeyState_e::pressed);
  if (error.empty()) {
    error =
        runUntil(HostClock::nowMs() + settleMs, [&] { return m_terminal.model(client())->activeMask() == setupMask; });
  }
  if (error.empty()) {
    error = m_terminal.key(client(), key, KeyState_e::released);
  }
  if (!error.empty()) {
    return error;
  }
  const WorkingSetModel_c* model = m_terminal.model(client());
  printLine("presses the key \"Page\"", "the application shows mask " + std::to_string(model->activeMask()));

  constexpr uint32_t newRate = 250;
  const IsoAgLib::iVtObjectInputNumber_s& rate = screen.rate.record;
  const std::string before = std::to_string(rate.value);
  error = m_terminal.enterNumber(client(), rate.object.ID, newRate);
  if (error.empty()) {
    error = runUntil(HostClock::nowMs() + settleMs, [&rate] { return rate.value == newRate; });
  }
  if (!error.empty()) {
    return error;
  }
  printLine("enters 250 l/ha", "the application has " + std::to_string(rate.value) + ", before " + before);
  return model->activeMask() == setupMask && rate.value == newRate ? "" : "the application did not hear the operator";
}

// --- The summary

std::string percent(double share) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %%", share * 100);
  return text;
}

void printRow(const char* label, const std::string& changed, const std::string& forced) {
  std::printf("  %-26s%18s%18s\n", label, changed.c_str(), forced.c_str());
}

void printSummary(const Pass_s& changed, const Pass_s& forced) {
  const auto row = [](const char* label, uint64_t first, uint64_t second) {
    printRow(label, std::to_string(first), std::to_string(second));
  };
  printRow("", "what has changed", "everything");
  row("refreshes", changed.refreshes, forced.refreshes);
  row("setter calls", changed.setterCalls, forced.setterCalls);
  row("commands sent", changed.commands, forced.commands);
  row("frames on the bus", changed.traffic.frames, forced.traffic.frames);
  row("most commands waiting", changed.mostWaiting, forced.mostWaiting);
  printRow("bus load at 250 kbit/s", percent(changed.busLoad()), percent(forced.busLoad()));
}

bool areBusesInsideTheProcess() {
  return Host::busAddress(0).compare(0, 5, "local") == 0 && Host::busAddress(1).compare(0, 5, "local") == 0;
}

std::string run(Demonstration_c& demonstration, const std::vector<DriveRow_s>& rows) {
  std::string error = demonstration.connect();
  if (!error.empty()) {
    return error;
  }
  printHeading("A drive of " + std::to_string(rows.size() / Drive_c::rowsPerSecond) +
               " s, refreshed ten times a second: what the terminal shows");
  Pass_s changed;
  Pass_s forced;
  error = demonstration.drive(rows, false, changed);
  if (error.empty()) {
    printHeading("The operator");
    error = demonstration.operate();
  }
  if (error.empty()) {
    error = demonstration.drive(rows, true, forced);
  }
  if (!error.empty()) {
    return error;
  }
  printHeading("The same drive twice: sending what has changed, and everything each time (force)");
  printSummary(changed, forced);
  return "";
}

} // namespace

int main(int argc, char** argv) {
  std::string driveFile;
  const DeskProgram_s program = {"zemo-demo",
                                 "a sprayer shows a drive on a virtual terminal",
                                 true,
                                 {{"drive", "FILE", "the drive, in the form of examples/implement/drive.csv",
                                   [&](const char* file) {
                                     driveFile = file;
                                     return std::string();
                                   }}},
                                 true};
  const auto fail = [&program](const std::string& why) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s\n", program.name, why.c_str());
    return 1;
  };
  DeskOptions_s options;
  if (const auto exitStatus = parseDeskOptions(argc, argv, program, options)) {
    return *exitStatus;
  }
  Drive_c drive;
  std::istringstream builtIn(driveData);
  std::string error = driveFile.empty() ? drive.read(builtIn) : drive.load(driveFile);
  if (!error.empty()) {
    return fail(error);
  }
  DeskCapture_c capture;
  error = prepareApplicationDesk(options, capture);
  if (!error.empty()) {
    return fail(error);
  }
  if (areBusesInsideTheProcess()) {
    HostClock::turnByHand();
  }

  printHeading("A sprayer comes up and shows its screen on a virtual terminal");
  SprayerApplication_c sprayer;
  if (!sprayer.open(options.useProprietaryBus)) {
    return fail(Host::lastError());
  }
  std::unique_ptr<CanTransport_c> transport = openTransport(Host::busAddress(0), error);
  if (!transport) {
    return fail(error);
  }
  Demonstration_c demonstration(sprayer, std::move(transport), options.seconds);
  error = run(demonstration, drive.rows());
  sprayer.close();
  if (error.empty()) {
    error = capture.close();
  }
  return error.empty() ? 0 : fail(error);
}
