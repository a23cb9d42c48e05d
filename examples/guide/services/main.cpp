#include <DebugLog.h>
#include <SignalHandling.h>

#include <csignal>
#include <unistd.h>

// The library announces a signal and calls this. To end the process is up to you.
void handleSignal(int signal) {
  PrintBackTrace(true); // to the log
  _exit(128 + signal);
}

void spread() {
  raise(SIGSEGV); // stands for your bug
}

int main() {
  set_log_filename("services.log"); // on the console it is /mnt/nand/DebugLog.txt
  log_check_size();                 // a log that has grown too long begins anew
  SetSignalHandler(handleSignal);
  AddAllTerminationSignals();

  log_msg("hopper: %d kg\n", 1200);
  spread();
}
