// Who is on this bus? Finds every control function of a bus and prints what the bus says of it.
#include "desk/BusSurvey.h"
#include "desk/DeskCapture.h"
#include "desk/DeskOptions.h"
#include "desk/ServiceToolName.h"
#include "desk/SurveyReport.h"

#include "HostClock.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <poll.h>

using namespace IsoBusHost;

namespace {

const DeskProgram_s program = {"zemo-service-tool", "finds every control function of a bus and asks it who it is",
                               false};

int fail(const std::string& why) {
  std::fprintf(stderr, "%s: %s\n", program.name, why.c_str());
  return 1;
}

void waitForFrames(const CanPort_c& port, uint64_t dueMs) {
  if (port.hasPending()) {
    return;
  }
  constexpr uint64_t longestWaitMs = 1000;
  const uint64_t nowMs = HostClock::nowMs();
  const uint64_t waitMs = dueMs > nowMs ? std::min(dueMs - nowMs, longestWaitMs) : 0;
  pollfd descriptor = {port.transport().descriptor(), POLLIN, 0};
  if (port.transport().hasUnsent()) {
    descriptor.events |= POLLOUT;
  }
  poll(&descriptor, 1, static_cast<int>(waitMs));
}

} // namespace

int main(int argc, char** argv) {
  DeskOptions_s options;
  if (const auto exitStatus = parseDeskOptions(argc, argv, program, options)) {
    return *exitStatus;
  }
  const std::string address = toolBus(options);
  if (address.empty()) {
    return fail(noToolBus);
  }
  std::string error;
  auto transport = openTransport(address, error);
  if (!transport) {
    return fail(error);
  }
  DeskCapture_c capture;
  error = capture.open(options);
  if (!error.empty()) {
    return fail(error);
  }
  CanPort_c port(std::move(transport));
  port.observe(
      [&capture](const CanFrame_s& frame, Direction_e, uint64_t timeUs) { capture.write("can0", frame, timeUs); });
  BusNode_c node(port);
  BusSurvey_c survey(node, serviceToolName(), serviceToolAddress);

  const uint64_t endMs =
      options.seconds == 0 ? never : HostClock::nowMs() + static_cast<uint64_t>(options.seconds) * 1000;
  while (!survey.isDone() && HostClock::nowMs() < endMs) {
    node.poll();
    if (!port.transport().isOpen()) {
      return fail(port.transport().error());
    }
    survey.work();
    waitForFrames(port, std::min({node.nextDueMs(), survey.nextDueMs(), endMs}));
  }
  if (survey.hasFailed()) {
    return fail(address + ": no address could be claimed");
  }
  std::cout << "On " << address << ", asked from address " << int{survey.ownAddress()} << ":\n\n";
  printSurvey(std::cout, survey);
  std::cout << "\n"
            << survey.functions().size() << " control functions, " << survey.asked() << " questions, "
            << survey.count(AnswerState_e::answered) << " answered, " << survey.count(AnswerState_e::refused)
            << " refused, " << survey.count(AnswerState_e::silent) << " without an answer.\n";
  error = capture.close();
  return error.empty() ? 0 : fail(error);
}
