// Runs one background job for each object, on a detached thread, and carries the request to stop.
// There is no join, no cancellation and no priority.
//
//   Order of use: construct, start, and if need be stop. The thread may outlive the object.
//   Threads: start from one thread; stop from any. The request is a plain flag without a lock that only ever goes from
//            false to true.
//   State: none beyond the object.
//   Prints "_POSIX_THREAD_PRIORITY_SCHEDULING undefined" on standard output for each thread that it starts.
#pragma once

#include "ZemoExport.h"

// Thread_c: one job in its life.
//
//   Kept     an object that has started a job says that it is running for ever: after the job has returned, after stop,
//            and also where the thread could not be created. A second start does nothing.
class ZEMO_EXPORT Thread_c {
public:
  // No job has been started.
  Thread_c();

  // Neither asks the job to stop nor waits for it.
  virtual ~Thread_c();

  // start: runs the job on a thread of its own, unless this object has started one already.
  //
  //   Takes    job: called with the argument; its result is dropped. It should ask isAborted from time to time.
  //            argument: the caller's; must live as long as the job needs it
  void start(void* (*job)(void*), void* argument);

  // startThread: runs a job on a detached thread with default attributes.
  //
  //   Gives    threadId: the thread's identity (pthread_t)
  //   Fails    silently: without a thread the job does not run
  static void startThread(unsigned long& threadId, void* (*job)(void*), void* argument);

  // stop: asks the job to return; cannot be taken back.
  void stop();

  // Whether stop has been called; whether a job has been started.
  bool isAborted();
  bool isRunning();

private:
  unsigned long m_ThreadId; // has no value before start
  bool m_bRunning;
  bool m_bAborted;
};
