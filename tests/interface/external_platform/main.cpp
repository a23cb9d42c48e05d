// Comes up and goes down on the second platform and prints what that platform was asked, in order.
#include <SelectSpecificVT_c.h>
#include <SwIdentification.h>
#include <VtObjects.h>
#include <VtText.h>
#include <ZemoApp.h>

#include <iostream>

std::string recordedCalls();

namespace {

// Each kind of change, twice where the second one is the same.
void changeVtObjects() {
  IsoAgLib::iVtObjectMeter_c meter(2600);
  SetVtObject(meter, static_cast<unsigned short>(0), false);
  SetVtObject(meter, static_cast<unsigned short>(7), false);
  IsoAgLib::iVtObjectNumberVariable_c variable(2800);
  SetVtObject(meter, &variable, false);
  IsoAgLib::iVtObjectInputNumber_c number(1900);
  SetVtOffset(number, 0, false);
  SetVtOffset(number, -5, false);
  SetVtScale(number, 2.0F, false);
  SetVtEnableObject(number, true, false);
  IsoAgLib::iVtObjectLinearBarGraph_c bar(2700);
  SetVtObjectColour(bar, 0, false);
  SetVtObjectColour(bar, 200, false);
  IsoAgLib::iVtObjectContainer_c container(1300);
  ShowVtContainer(container, true, false);
  ShowVtContainer(container, false, false);
  IsoAgLib::iVtObjectInputList_c list(2000);
  SetVtListIndex(list, 2, &meter, false);

  char storage[] = "abc ";
  IsoAgLib::iVtObjectOutputString_c text(2100);
  text.own.value = storage;
  text.own.length = 4;
  SetVtObject(text, "abc", false, true);
  SetVtObject(text, "xy", false, true);
  SetVtObject(text, "stored", false, false);
  recordCall(std::string("object 2100 holds ") + GetVtValue(text));
  SetVtObjectUTF8(text, "a", false, true);
}

} // namespace

int main() {
  __IsoAgLib::ZemoApp application;
  std::string identification = __IsoAgLib::formatAppSwIdentification("App 1", nullptr);
  if (!application.init(__IsoAgLib::ZemoAppPlain, identification, 129, 7, 1, 29, 2, 3, 0, true, false)) {
    return 1;
  }
  recordCall("hardware revision " + std::to_string(GetHardwareRevision()));
  recordCall("vt version " + std::to_string(__IsoAgLib::ZemoApp::getVirtualTerminalVersion()));
  changeVtObjects();
  const SelectSpecificVT_c anyVt(IsoAgLib::iIsoName_c(), SelectSpecificVT_c::matchAll);
  recordCall(std::string("vt of the same name ") + (anyVt.selectVtServer(IsoAgLib::iIsoName_c()) ? "taken" : "left"));
  application.close();
  std::cout << recordedCalls();
  return 0;
}
