// A small demonstration: a console application comes up on a bus, a service tool that knows nothing but the frames asks
// who is there, and the application goes down in order.
#include "ApplicationDesk.h"
#include "ConsoleApplication.h"

#include "Host.h"
#include "HostClock.h"
#include "desk/BusSurvey.h"
#include "desk/ServiceToolName.h"
#include "desk/SurveyReport.h"

#include <algorithm>
#include <cstdio>
#include <iomanip>
#include <iostream>

using namespace IsoBusHost;

namespace {

const DeskProgram_s program = {"zemo-survey-demo", "a console application and a service tool on one bus", true};
constexpr int defaultSeconds = 20;

int fail(const std::string& why) {
  std::cout.flush();
  std::fprintf(stderr, "%s: %s\n", program.name, why.c_str());
  return 1;
}

// The service tool: a node of its own on the ISOBUS of the application.
struct ServiceTool_s {
  explicit ServiceTool_s(std::unique_ptr<CanTransport_c> transport)
      : port(std::move(transport)), node(port), survey(node, serviceToolName(), serviceToolAddress) {}

  CanPort_c port;
  BusNode_c node;
  BusSurvey_c survey;
};

void waitForWork(const CanPort_c& toolPort, uint64_t dueMs) {
  if (toolPort.hasPending() || (Host::port(0) != nullptr && Host::port(0)->hasPending())) {
    return;
  }
  constexpr uint64_t longestWaitMs = 100;
  const uint64_t nowMs = HostClock::nowMs();
  const uint64_t waitMs = dueMs > nowMs ? std::min(dueMs - nowMs, longestWaitMs) : 0;
  std::vector<pollfd> descriptors = Host::pollDescriptors();
  descriptors.push_back({toolPort.transport().descriptor(), POLLIN, 0});
  poll(descriptors.data(), static_cast<nfds_t>(descriptors.size()), static_cast<int>(waitMs));
}

template <typename Value_c>
void printLine(const std::string& label, const Value_c& value) {
  std::cout << "  " << std::left << std::setw(26) << label << value << std::endl;
}

void printHeading(const char* text) {
  std::cout << "\n" << text << "\n" << std::endl;
}

std::string addressesOf(ConsoleApplication_c& application) {
  std::string text;
  for (unsigned int index = 0; index < ConsoleApplication_c::controlFunctions; ++index) {
    text += (index == 0 ? "" : ", ") + std::to_string(application.frame().getMyIdent(index)->nr());
  }
  return text;
}

// Runs application and tool until the tool has asked everybody. Gives why it could not, empty when it could.
std::string runSurvey(ConsoleApplication_c& application, ServiceTool_s& tool, int seconds) {
  const uint64_t startMs = HostClock::nowMs();
  const uint64_t endMs = startMs + static_cast<uint64_t>(seconds) * 1000;
  bool isAnnounced = false;
  while (!tool.survey.isDone()) {
    const uint64_t dueMs = HostClock::nowMs() + static_cast<uint64_t>(__IsoAgLib::getSchedulerInstance().runDueWork());
    tool.node.poll();
    tool.survey.work();
    if (!isAnnounced && application.hasClaimed()) {
      isAnnounced = true;
      printLine("addresses claimed",
                addressesOf(application) + " after " + std::to_string(HostClock::nowMs() - startMs) + " ms");
    }
    if (!Host::lastError().empty()) {
      return Host::lastError();
    }
    if (!tool.port.transport().isOpen()) {
      return "service tool: " + tool.port.transport().error();
    }
    if (HostClock::nowMs() >= endMs) {
      return "not done within " + std::to_string(seconds) + " s";
    }
    waitForWork(tool.port, std::min({dueMs, tool.node.nextDueMs(), tool.survey.nextDueMs()}));
  }
  if (tool.survey.hasFailed()) {
    return "service tool: no address could be claimed";
  }
  return application.hasClaimed() ? "" : "the application could not claim its addresses";
}

// Asks for all addresses once more and listens for a while. Returns how many of the functions have answered.
std::ptrdiff_t countStillThere(ServiceTool_s& tool, const std::vector<uint64_t>& names) {
  constexpr uint64_t listenMs = 300;
  tool.survey.askForClaims();
  const uint64_t endMs = HostClock::nowMs() + listenMs;
  while (HostClock::nowMs() < endMs) {
    tool.node.poll();
    waitForWork(tool.port, endMs);
  }
  return std::count_if(names.begin(), names.end(),
                       [&tool](uint64_t name) { return tool.survey.claims().count(name) != 0; });
}

std::vector<uint64_t> namesOf(ConsoleApplication_c& application) {
  std::vector<uint64_t> names;
  for (unsigned int index = 0; index < ConsoleApplication_c::controlFunctions; ++index) {
    names.push_back(application.frame().getMyIdent(index)->isoName().value());
  }
  return names;
}

std::string percent(double share) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %%", share * 100);
  return text;
}

void printApplication(ConsoleApplication_c& application) {
  ComponentVersions_c console;
  std::cout << "  The library asks the console:";
  console.init();
  printLine("software text", application.softwareText());
  printLine("identity number", application.frame().getSerialNumber(0));
  printLine("EEPROM file", Host::eepromFile());
  printLine("bus 0, bus 1", Host::busAddress(0) + ", " + Host::busAddress(1));
}

// Whether the application's functions have answered every question, and some have been asked.
bool isComplete(const BusSurvey_c& survey, const std::vector<uint64_t>& names) {
  std::size_t complete = 0;
  for (const SurveyedFunction_s& function : survey.functions()) {
    const bool isOurs = std::find(names.begin(), names.end(), function.name) != names.end();
    const bool hasAnswered =
        std::all_of(function.answers.begin(), function.answers.end(),
                    [](const SurveyAnswer_s& answer) { return answer.state == AnswerState_e::answered; });
    complete += isOurs && hasAnswered ? 1 : 0;
  }
  return complete == names.size();
}

void printTraffic(const ServiceTool_s& tool) {
  const BusSurvey_c& survey = tool.survey;
  printLine("questions", std::to_string(survey.asked()) + " asked, " +
                             std::to_string(survey.count(AnswerState_e::answered)) + " answered, " +
                             std::to_string(survey.count(AnswerState_e::refused)) + " refused, " +
                             std::to_string(survey.count(AnswerState_e::silent)) + " without an answer");
  printLine("frames on the ISOBUS", tool.port.framesSent() + tool.port.framesReceived());
  printLine("bus load at 250 kbit/s", percent(tool.port.busLoad()));
}

// Closes the application and lets the bus tell that it has gone.
std::ptrdiff_t closeApplication(ConsoleApplication_c& application, ServiceTool_s& tool) {
  const std::vector<uint64_t> names = namesOf(application);
  const std::size_t servicesBefore = Host::servicesOn().size();
  application.close();
  const std::vector<std::string> left = Host::servicesOn();
  printLine("closed", std::to_string(names.size()) + " control functions, " +
                          std::to_string(servicesBefore - left.size()) + " services of the stack");
  if (!left.empty()) {
    printLine("left as they are", std::to_string(left.size()) + " tractor services, which the frame never closes");
  }
  const std::ptrdiff_t stillThere = countStillThere(tool, names);
  printLine("asked once more",
            stillThere == 0 ? "none of them answers" : std::to_string(stillThere) + " of them still answer");
  return stillThere;
}

} // namespace

int main(int argc, char** argv) {
  DeskOptions_s options;
  options.seconds = defaultSeconds;
  if (const auto exitStatus = parseDeskOptions(argc, argv, program, options)) {
    return *exitStatus;
  }
  DeskCapture_c capture;
  std::string error = prepareApplicationDesk(options, capture);
  if (!error.empty()) {
    return fail(error);
  }

  printHeading("A console application comes up on the bus");
  ConsoleApplication_c application;
  if (!application.open(static_cast<__IsoAgLib::ZemoAppType_e>(options.applicationKind), options.useProprietaryBus)) {
    return fail(Host::lastError());
  }
  printApplication(application);
  std::unique_ptr<CanTransport_c> transport = openTransport(Host::busAddress(0), error);
  if (!transport) {
    return fail(error);
  }
  ServiceTool_s tool(std::move(transport));
  error = runSurvey(application, tool, options.seconds);
  if (!error.empty()) {
    return fail(error);
  }

  printHeading("What the bus says of it: a service tool asks, and knows only the frames");
  printSurvey(std::cout, tool.survey);

  printHeading("Summary");
  const bool hasAnswered = isComplete(tool.survey, namesOf(application));
  printLine("control functions found", tool.survey.functions().size());
  printTraffic(tool);
  const bool hasGone = closeApplication(application, tool) == 0;
  error = capture.close();
  if (!error.empty()) {
    return fail(error);
  }
  if (!hasAnswered) {
    return fail("not every control function of the application has answered every question");
  }
  return hasGone ? 0 : fail("the application still answers after it was closed");
}
