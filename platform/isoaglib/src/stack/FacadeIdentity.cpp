#include "../vt/VtClientService.h"
#include "HostState.h"
#include "Identification.h"
#include "Journal.h"

#include <array>
#include <cstdio>

using namespace IsoBusHost;

namespace __IsoAgLib {

namespace {

constexpr std::size_t fieldLimit = 200;
constexpr std::size_t productFieldLimit = 50;

std::string identName(const IdentItem_c::State_s& item) {
  return "ident " + std::to_string(item.number);
}

std::string hexadecimal(uint64_t value, int digits) {
  char text[17];
  std::snprintf(text, sizeof text, "%0*llX", digits, static_cast<unsigned long long>(value));
  return text;
}

std::string hexadecimal(const std::array<uint8_t, 3>& bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    text += hexadecimal(byte, 2);
  }
  return text;
}

bool isFieldCharacter(char character) {
  const auto code = static_cast<unsigned char>(character);
  return (code >= 32 && code <= 126 && code != '*') || code >= 160;
}

bool isField(const std::string& text, std::size_t limit) {
  if (text.size() > limit) {
    return false;
  }
  for (const char character : text) {
    if (!isFieldCharacter(character)) {
      return false;
    }
  }
  return true;
}

bool areFields(const std::vector<std::string>& fields, std::size_t limit) {
  for (const std::string& field : fields) {
    if (!isField(field, limit)) {
      return false;
    }
  }
  return true;
}

std::string quoted(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) {
    list += (list.empty() ? "\"" : ", \"") + text + "\"";
  }
  return list;
}

bool refuse(const IdentItem_c::State_s& item, const char* what) {
  reportError(identName(item) + ": " + what + " has a field that is too long or has a character that is not allowed");
  return false;
}

// setFields: keeps texts as one identification message, each field closed by '*'.
bool setFields(IdentItem_c::State_s& item, uint32_t pgn, const char* call, const std::vector<std::string>& fields,
               std::size_t limit) {
  Journal::add(identName(item) + ": " + call + "(" + quoted(fields) + ")");
  if (!areFields(fields, limit)) {
    return refuse(item, call);
  }
  std::vector<uint8_t> data;
  for (const std::string& field : fields) {
    data.insert(data.end(), field.begin(), field.end());
    data.push_back('*');
  }
  item.answers[pgn] = std::move(data);
  return true;
}

} // namespace

IdentItem_c::IdentItem_c() : m_state(std::make_unique<State_s>()) {
  m_state->number = ++hostState().identItems;
  Journal::add(identName(*m_state) + ": created");
}

IdentItem_c::~IdentItem_c() {
  Journal::add(identName(*m_state) + ": destroyed");
  for (unsigned int instance = 0; instance < isoInstances; ++instance) {
    vtClientService(instance)->forgetIdent(*m_state);
  }
  detach(*m_state);
}

void IdentItem_c::setUseWorkingSet(bool use) {
  Journal::add(std::string("IdentItem_c::setUseWorkingSet(") + (use ? "true" : "false") + ")");
  hostState().identItemUsesWorkingSet = use;
  for (unsigned int instance = 0; instance < isoInstances; ++instance) {
    if (nodeOf(instance) != nullptr) {
      nodeOf(instance)->setWorkingSets(use);
    }
  }
}

void IdentItem_c::init(const IsoName_c& name, IsoAgLib::iIdentDataStorage_c& storage, int8_t slaveCount,
                       const IsoName_c* slaveNames, bool claimWhenRegistered) {
  Journal::add(identName(*m_state) + ": init(" + hexadecimal(name.value(), 16) + ", " + std::to_string(slaveCount) +
               (slaveNames == nullptr ? ", null, " : ", slaves, ") + (claimWhenRegistered ? "true)" : "false)"));
  detach(*m_state);
  m_state->name = name;
  m_state->storage = &storage;
  m_state->slaveCount = int{slaveCount};
  m_state->slaveNames.clear();
  for (int slave = 0; slaveNames != nullptr && slave < m_state->slaveCount; ++slave) {
    m_state->slaveNames.push_back(slaveNames[slave].value());
  }
  m_state->claimWhenRegistered = claimWhenRegistered;
}

bool IdentItem_c::setEcuIdentification(const char* partNumber, const char* serialNumber, const char* location,
                                       const char* type, const char* manufacturerName, const char* hardwareId) {
  return setFields(*m_state, Pgn::ecuIdentification, "setEcuIdentification",
                   {partNumber, serialNumber, location, type, manufacturerName, hardwareId}, fieldLimit);
}

bool IdentItem_c::setProductIdentification(const char* code, const char* brand, const char* model) {
  return setFields(*m_state, Pgn::productIdentification, "setProductIdentification", {code, brand, model},
                   productFieldLimit);
}

bool IdentItem_c::setSwIdentification(const char* fields) {
  Journal::add(identName(*m_state) + ": setSwIdentification(\"" + fields + "\")");
  const std::string text = fields;
  const bool isClosed = !text.empty() && text.back() == '*';
  std::vector<uint8_t> data = encodeSoftwareIdentification(text);
  if (!isClosed || !areFields(splitFields(text), fieldLimit) || data.size() > TransportProtocol_c::maxBytes) {
    return refuse(*m_state, "setSwIdentification");
  }
  m_state->answers[Pgn::softwareIdentification] = std::move(data);
  return true;
}

void IdentItem_c::setCertificationData(uint16_t year, uint8_t revision, IsoAgLib::CertificationLabType_t laboratoryType,
                                       uint16_t laboratoryId,
                                       const BitFieldWrapperLeft_c<IsoAgLib::Certification_s>& compliance,
                                       uint16_t referenceNumber) {
  Certification_s certification;
  certification.year = year;
  certification.revision = revision;
  certification.laboratoryType = static_cast<uint8_t>(laboratoryType);
  certification.laboratoryId = laboratoryId;
  certification.compliance = {compliance.byte(0), compliance.byte(1), compliance.byte(2)};
  certification.referenceNumber = referenceNumber;
  Journal::add(identName(*m_state) + ": setCertificationData(" + std::to_string(year) + ", " +
               std::to_string(revision) + ", " + std::to_string(static_cast<unsigned int>(laboratoryType)) + ", " +
               std::to_string(laboratoryId) + ", " + hexadecimal(certification.compliance) + ", " +
               std::to_string(referenceNumber) + ")");
  const std::array<uint8_t, 8> bytes = encodeCertification(certification);
  m_state->answers[Pgn::certification].assign(bytes.begin(), bytes.end());
}

const IsoName_c& IdentItem_c::isoName() const {
  return m_state->name;
}

bool IdentItem_c::isClaimedAddress() const {
  return m_state->function != nullptr && m_state->function->state() == ClaimState_e::claimed;
}

uint8_t IdentItem_c::nr() const {
  return m_state->function == nullptr ? nullAddress : m_state->function->address();
}

} // namespace __IsoAgLib
