#include "VtScreen.h"

namespace TestSupport {

VtScreen_s::VtScreen_s(bool hasRecords) {
  if (!hasRecords) {
    return;
  }
  records.inputList.items = items;
  workingSet.init(&records.workingSet);
  dataMask.init(&records.dataMask);
  otherDataMask.init(&records.otherDataMask);
  container.init(&records.container);
  softKeyMask.init(&records.softKeyMask);
  otherSoftKeyMask.init(&records.otherSoftKeyMask);
  twinOfSoftKeyMask.init(&records.twinOfSoftKeyMask);
  key.init(&records.key);
  inputBoolean.init(&records.inputBoolean);
  inputString.init(&records.inputString);
  inputNumber.init(&records.inputNumber);
  inputList.init(&records.inputList);
  outputString.init(&records.outputString);
  outputNumber.init(&records.outputNumber);
  outputList.init(&records.outputList);
  rectangle.init(&records.rectangle);
  polygon.init(&records.polygon);
  meter.init(&records.meter);
  barGraph.init(&records.barGraph);
  numberVariable.init(&records.numberVariable);
  otherNumberVariable.init(&records.otherNumberVariable);
  twinOfNumberVariable.init(&records.twinOfNumberVariable);
  stringVariable.init(&records.stringVariable);
  otherStringVariable.init(&records.otherStringVariable);
  twinOfStringVariable.init(&records.twinOfStringVariable);
  font.init(&records.font);
  otherFont.init(&records.otherFont);
  twinOfFont.init(&records.twinOfFont);
  fill.init(&records.fill);
  otherFill.init(&records.otherFill);
  twinOfFill.init(&records.twinOfFill);
  objectPointer.init(&records.objectPointer);
}

} // namespace TestSupport
