#include <IsoAgLib/isoaglib.h>

namespace __IsoAgLib {

void vtObject_c::record(const std::string& call, const std::vector<long>& arguments) {
  std::string line = "object " + std::to_string(getID()) + " " + call;
  for (const long argument : arguments) {
    line += " " + std::to_string(argument);
  }
  recordCall(line);
}

void vtObject_c::saveValue8SetAttribute(int position, int size, int attribute, int stored, int sent, bool replace) {
  record("attribute8", {position, size, attribute, stored, sent, replace});
}

void vtObject_c::saveValue32SetAttribute(int position, int size, int attribute, int value, bool replace) {
  record("attribute32", {position, size, attribute, value, replace});
}

void vtObject_c::saveValueFloatSetAttribute(int position, int size, int attribute, float value, bool replace) {
  record("attribute float", {position, size, attribute, static_cast<long>(value), replace});
}

void vtObject_c::saveValuePSetAttribute(int /*position*/, int /*size*/, int attribute, const iVtObject_c* object,
                                        bool replace) {
  record("attribute reference", {attribute, object->getID(), replace});
}

void vtObject_c::able(int enabled, bool update, bool replace) {
  record("able", {enabled, update, replace});
}

void vtObjectString_c::setValueCopy(const char* text, bool update, bool replace) {
  record("text '" + std::string(text) + "'", {update, replace});
}

void vtObjectString_c::setValueCopyUTF16(const char* /*text*/, int byteLength, bool update, bool replace) {
  record("text of UTF-16", {byteLength, update, replace});
}

void convertStringUnicodeTo8859(const char* utf8, int byteLength, char* target, int /*fontEncoding*/) {
  std::string(utf8, static_cast<std::size_t>(byteLength)).copy(target, static_cast<std::size_t>(byteLength));
  target[byteLength] = '\0';
}

uint8_t VtClientConnection_c::getUserClippedColor(uint8_t colour, IsoAgLib::iVtObject_c* object,
                                                  IsoAgLib::e_vtColour kind) {
  recordCall("colour " + std::to_string(colour) + " of object " + std::to_string(object->getID()) + " kind " +
             std::to_string(kind));
  return 1;
}

VtClientConnection_c& VtClient_c::getClientByID(int clientID) {
  recordCall(call("client " + std::to_string(clientID)));
  static VtClientConnection_c connection;
  return connection;
}

} // namespace __IsoAgLib
