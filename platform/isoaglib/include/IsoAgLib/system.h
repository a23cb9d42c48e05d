// System, scheduler, version and assertion hooks of the ISOBUS stack.
#pragma once

// isoaglib_assert_callStart: asked when the condition of an assertion does not hold.
//
//   Gives    true: the check is waived and the caller goes on; false: the caller looks at the condition again
bool isoaglib_assert_callStart();

// isoaglib_assert_callFinish: told that the second look found the condition mended.
void isoaglib_assert_callFinish();

// getIsoAgLibVersion: returns the version of the stack, a terminated text.
const char* getIsoAgLibVersion();

namespace IsoAgLib {

// iErrorObserver_c: told of errors of the stack.
class iErrorObserver_c {
public:
  // Takes    text: one line without line end, valid during the call
  virtual void onError(const char* text) = 0;

protected:
  ~iErrorObserver_c() = default;
};

} // namespace IsoAgLib

namespace __IsoAgLib {

class System_c {
public:
  // init: starts the stack and asks getZemoEepromFileName() for the path of its persistent storage.
  bool init();
  bool close();
};

System_c& getSystemInstance();

// Scheduler_c: the stack's main loop, driven by the application.
class Scheduler_c {
public:
  // Takes    observer: told of errors until close, may be null
  void init(IsoAgLib::iErrorObserver_c* observer);
  void close();

  // runDueWork: takes what has arrived on the buses, runs what is due and returns at once.
  //
  //   Gives    the milliseconds until it should be called again at the latest, 0 to 1000; a frame that arrives
  //            makes it due earlier, which waitForWork tells
  int runDueWork();

  // waitForWork: sleeps until a frame arrives, a transport can send again, or the time is over.
  //
  //   Takes    timeoutMs: 0 and more
  //   Gives    true when there is work; false when the time is over or a signal came
  bool waitForWork(int timeoutMs);
};

Scheduler_c& getSchedulerInstance();

// The two questions that the stack asks its application. libzemoUtils answers them.
const char* getZemoEepromFileName();
int getConnectAllowedVtServerType();

} // namespace __IsoAgLib
