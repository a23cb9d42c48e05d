#include "SurveyReport.h"

#include "Identification.h"

#include <iomanip>
#include <sstream>

using namespace IsoBusHost;

namespace {

constexpr int labelWidth = 24;

std::string hexadecimal(uint64_t value, int digits) {
  std::ostringstream text;
  text << std::hex << std::uppercase << std::setfill('0') << std::setw(digits) << value;
  return text.str();
}

template <typename Value_c>
void printLine(std::ostream& out, const std::string& label, const Value_c& value) {
  out << "      " << std::left << std::setw(labelWidth) << label << value << '\n';
}

// The texts come from the bus: what is no printable ASCII shows as its code.
std::string printable(const std::string& text) {
  std::string result;
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (code >= 32 && code <= 126) {
      result += character;
    } else {
      result += "\\x" + hexadecimal(code, 2);
    }
  }
  return result;
}

const char* industryGroupText(uint8_t group) {
  switch (group) {
  case 0:
    return "global";
  case 1:
    return "on-highway";
  case 2:
    return "agriculture and forestry";
  case 3:
    return "construction";
  case 4:
    return "marine";
  case 5:
    return "industrial";
  default:
    return "reserved";
  }
}

const char* laboratoryTypeText(uint8_t type) {
  switch (type) {
  case 0:
    return "none or own";
  case 1:
    return "accredited";
  case 2:
    return "reserved";
  default:
    return "not available";
  }
}

void printName(std::ostream& out, uint64_t value) {
  const Name_s name = decodeName(value);
  out << "    NAME " << hexadecimal(value, 16) << '\n';
  printLine(out, "identity number", name.identityNumber);
  printLine(out, "manufacturer code", name.manufacturerCode);
  printLine(out, "ECU instance", int{name.ecuInstance});
  printLine(out, "function instance", int{name.functionInstance});
  printLine(out, "function", int{name.function});
  printLine(out, "device class", int{name.deviceClass});
  printLine(out, "device class instance", int{name.deviceClassInstance});
  printLine(out, "industry group", std::to_string(name.industryGroup) + ", " + industryGroupText(name.industryGroup));
  printLine(out, "address", name.selfConfigurable ? "self-configurable" : "fixed");
}

// printHeading: writes the heading of an answer; false where there is no answer to print.
bool printHeading(std::ostream& out, const char* heading, const SurveyAnswer_s& answer) {
  out << "    " << heading;
  switch (answer.state) {
  case AnswerState_e::answered:
    out << '\n';
    return true;
  case AnswerState_e::refused:
    out << ": refused\n";
    return false;
  case AnswerState_e::silent:
    out << ": no answer\n";
    return false;
  default:
    out << ": not asked\n";
    return false;
  }
}

void printFields(std::ostream& out, const std::string& text, const std::vector<const char*>& labels) {
  const std::vector<std::string> fields = splitFields(text);
  for (std::size_t index = 0; index < fields.size(); ++index) {
    const std::string label = index < labels.size() ? labels[index] : "field " + std::to_string(index + 1);
    printLine(out, label, fields[index].empty() ? "(empty)" : printable(fields[index]));
  }
}

// The modules of a software field, joined by '#', stand below each other.
void printModules(std::ostream& out, const std::string& label, const std::string& field) {
  std::istringstream modules(field);
  std::string module;
  bool isFirst = true;
  while (std::getline(modules, module, '#')) {
    printLine(out, isFirst ? label : "", printable(module));
    isFirst = false;
  }
  if (isFirst) {
    printLine(out, label, "(empty)");
  }
}

void printSoftware(std::ostream& out, const std::string& text) {
  const std::vector<std::string> fields = splitFields(text);
  for (std::size_t index = 0; index < fields.size(); ++index) {
    printModules(out, "field " + std::to_string(index + 1), fields[index]);
  }
}

std::string asText(const std::vector<uint8_t>& data) {
  return {data.begin(), data.end()};
}

// trimmed: returns a text answer of one frame without the FF that fill the frame.
std::string trimmed(const std::vector<uint8_t>& data) {
  std::string text = asText(data);
  text.erase(text.find_last_not_of('\xFF') + 1);
  return text;
}

void printCertification(std::ostream& out, const std::vector<uint8_t>& data) {
  const std::optional<Certification_s> certification = decodeCertification(data);
  if (!certification) {
    printLine(out, "unreadable", std::to_string(data.size()) + " bytes instead of 8");
    return;
  }
  printLine(out, "year of the test", certification->year);
  printLine(out, "revision", certification->revision == 31 ? "not available" : std::to_string(certification->revision));
  printLine(out, "laboratory",
            std::to_string(certification->laboratoryId) + ", " + laboratoryTypeText(certification->laboratoryType));
  printLine(out, "compliance bits",
            hexadecimal(certification->compliance[0], 2) + " " + hexadecimal(certification->compliance[1], 2) + " " +
                hexadecimal(certification->compliance[2], 2));
  printLine(out, "reference number", certification->referenceNumber);
}

} // namespace

void printFunction(std::ostream& out, const SurveyedFunction_s& function) {
  if (function.address == nullAddress) {
    out << "  a control function that has left its address\n";
  } else {
    out << "  address " << int{function.address} << " (" << hexadecimal(function.address, 2) << ")\n";
  }
  printName(out, function.name);
  if (function.workingSetMembers >= 0) {
    out << "    working-set master, members: " << function.workingSetMembers << '\n';
  }
  if (printHeading(out, "ECU identification", function.answers[0])) {
    printFields(out, trimmed(function.answers[0].data),
                {"part number", "serial number", "location", "type", "manufacturer", "hardware ID"});
  }
  if (printHeading(out, "product identification", function.answers[1])) {
    printFields(out, trimmed(function.answers[1].data), {"code", "brand", "model"});
  }
  if (printHeading(out, "software identification", function.answers[2])) {
    const std::string text = trimmed(function.answers[2].data);
    printSoftware(out, textOfSoftwareIdentification({text.begin(), text.end()}));
  }
  if (printHeading(out, "compliance certification", function.answers[3])) {
    printCertification(out, function.answers[3].data);
  }
}

void printSurvey(std::ostream& out, const BusSurvey_c& survey) {
  if (survey.functions().empty()) {
    out << "  Nobody else is on this bus.\n";
    return;
  }
  bool isFirst = true;
  for (const SurveyedFunction_s& function : survey.functions()) {
    out << (isFirst ? "" : "\n");
    printFunction(out, function);
    isFirst = false;
  }
}
