#include "GuardedClock.h"

#include "CaughtCalls.h"
#include "Files.h"
#include "PrivateMounts.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <linux/capability.h>
#include <optional>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace TestSupport {

namespace {

const std::string firstDevice = "/dev/rtc0";
const std::string secondDevice = "/dev/misc/rtc";

bool isDevice(const std::string& path) {
  return path == firstDevice || path == secondDevice;
}

std::string textOf(const RtcRecord& record) {
  std::string text;
  for (const int32_t field : record) {
    text += " " + std::to_string(field);
  }
  return text;
}

std::string accessOf(uint64_t flags) {
  switch (flags & O_ACCMODE) {
  case O_RDONLY:
    return "O_RDONLY";
  case O_WRONLY:
    return "O_WRONLY";
  default:
    return "O_RDWR";
  }
}

std::string timeText(int64_t seconds, int64_t nanoseconds) {
  constexpr std::size_t width = 9;
  const std::string digits = std::to_string(nanoseconds);
  const std::string zeros(width - std::min(width, digits.size()), '0');
  return "system clock " + std::to_string(seconds) + "." + zeros + digits;
}

// Two words of the caller: seconds, and their fraction.
struct Words_s {
  int64_t seconds = 0;
  int64_t fraction = 0;
};

template <class Word_t>
Words_s wordsAt(const CaughtCall_c& call, uint64_t address) {
  std::array<Word_t, 2> words{};
  call.read(address, words.data(), sizeof words);
  return {words[0], words[1]};
}

Words_s wordsAt(const CaughtCall_c& call, uint64_t address, bool areShort) {
  return areShort ? wordsAt<int32_t>(call, address) : wordsAt<int64_t>(call, address);
}

// Clock_c: the kernel's side.
class Clock_c {
public:
  explicit Clock_c(const GuardedClock_s& clock) : m_clock(clock) {}

  Answer answer(const CaughtCall_c& call, std::string& notes) const {
    const std::string& name = call.name();
    if (name == "open" || name == "openat") {
      return noteOpen(call, name == "open" ? 0 : 1, notes);
    }
    if (name == "close") {
      return noteClose(call, notes);
    }
    return name == "ioctl" ? request(call, notes) : setSystemClock(call, notes);
  }

private:
  static Answer noteOpen(const CaughtCall_c& call, std::size_t index, std::string& notes) {
    const std::string path = call.textAt(call.argument(index));
    if (isDevice(path)) {
      notes += "open " + path + " " + accessOf(call.argument(index + 1)) + "\n";
    }
    return std::nullopt;
  }

  static Answer noteClose(const CaughtCall_c& call, std::string& notes) {
    const std::string path = call.pathOf(call.argument(0));
    if (isDevice(path)) {
      notes += "close " + path + "\n";
    }
    return std::nullopt;
  }

  Answer request(const CaughtCall_c& call, std::string& notes) const {
    constexpr uint32_t readTime = 0x80247009;
    constexpr uint32_t setTime = 0x4024700A;
    const auto number = static_cast<uint32_t>(call.argument(1));
    const std::string path = call.pathOf(call.argument(0));
    if (number != readTime && number != setTime) {
      return isDevice(path) ? Answer(ENOTTY) : std::nullopt;
    }
    RtcRecord record{};
    call.read(call.argument(2), record.data(), sizeof record);
    notes += std::string(number == readTime ? "RTC_RD_TIME " : "RTC_SET_TIME ") + path + textOf(record) + "\n";
    if (number == setTime) {
      return m_clock.setError;
    }
    if (m_clock.readError == 0) {
      call.write(call.argument(2), m_clock.record.data(), sizeof m_clock.record);
    }
    return m_clock.readError;
  }

  Answer setSystemClock(const CaughtCall_c& call, std::string& notes) const {
    const std::string& name = call.name();
    if (name == "settimeofday") {
      noteTimeOfDay(call, notes);
    } else if (name == "clock_settime" || name == "clock_settime64") {
      noteClockSettime(call, notes);
    } else if (name == "stime") {
      int32_t seconds = 0;
      call.read(call.argument(0), &seconds, sizeof seconds);
      notes += timeText(seconds, 0) + " no zone\n";
    } else {
      notes += name + "\n";
    }
    return m_clock.systemClockError;
  }

  static void noteTimeOfDay(const CaughtCall_c& call, std::string& notes) {
    std::string time = "no time";
    if (call.argument(0) != 0) {
      const Words_s words = wordsAt(call, call.argument(0), call.isOf32Bit());
      time = timeText(words.seconds, words.fraction * 1000);
    }
    notes += time;
    if (call.argument(1) == 0) {
      notes += " no zone\n";
      return;
    }
    const Words_s zone = wordsAt(call, call.argument(1), true);
    notes += " minutes west " + std::to_string(zone.seconds) + " type " + std::to_string(zone.fraction) + "\n";
  }

  static void noteClockSettime(const CaughtCall_c& call, std::string& notes) {
    if (call.argument(0) != CLOCK_REALTIME) {
      notes += "another clock\n";
      return;
    }
    const bool areShort = call.isOf32Bit() && call.name() == "clock_settime";
    Words_s words = wordsAt(call, call.argument(1), areShort);
    if (call.isOf32Bit()) {
      words.fraction = static_cast<int32_t>(words.fraction); // the rest is padding
    }
    notes += timeText(words.seconds, words.fraction) + " no zone\n";
  }

  GuardedClock_s m_clock;
};

// "/dev" as an empty directory, but for "/dev/null", which shells open.
void mountDevices(const GuardedClock_s& clock) {
  enterPrivateMounts();
  mountTmpfs("/mnt");
  writeFile("/mnt/null", "");
  bindFile("/dev/null", "/mnt/null");
  mountTmpfs("/dev");
  writeFile("/dev/null", "");
  bindFile("/mnt/null", "/dev/null");
  if (clock.hasFirstDevice) {
    writeFile(firstDevice, "");
  }
  if (clock.hasSecondDevice) {
    makeDirectories("/dev/misc");
    writeFile(secondDevice, "");
  }
}

void putTool(const std::string& folder, const std::string& text) {
  const std::string path = folder + "/hwclock";
  writeFile(path, text);
  if (chmod(path.c_str(), 0755) != 0) {
    throw std::runtime_error(path);
  }
}

} // namespace

bool maySetTheClock() {
  // Neither a time nor a zone: the kernel asks whether the caller may, and has nothing to do.
  return syscall(SYS_settimeofday, nullptr, nullptr) == 0;
}

void giveUpTheClock() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, 2> capabilities{};
  prctl(PR_CAPBSET_DROP, CAP_SYS_TIME, 0, 0, 0); // fails where there is no privilege to drop
  prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_LOWER, CAP_SYS_TIME, 0, 0);
  bool isDone = syscall(SYS_capget, &header, capabilities.data()) == 0;
  __user_cap_data_struct& low = capabilities[0];
  for (uint32_t* set : {&low.effective, &low.permitted, &low.inheritable}) {
    *set &= ~(uint32_t{1} << CAP_SYS_TIME);
  }
  isDone = isDone && syscall(SYS_capset, &header, capabilities.data()) == 0;
  isDone = isDone && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
  if (!isDone || maySetTheClock() || errno != EPERM) {
    throw std::runtime_error("the clock cannot be given up");
  }
}

bool canGuardClock() {
  return havePrivateMounts() && canCatchCalls();
}

GuardedRun_s runGuarded(const GuardedClock_s& clock, const std::function<void()>& function) {
  const TemporaryFolder_c folder;
  const Clock_c kernel(clock);
  Watching_s watching;
  watching.names = {"open",          "openat",          "close",    "ioctl",         "settimeofday",   "stime",
                    "clock_settime", "clock_settime64", "adjtimex", "clock_adjtime", "clock_adjtime64"};
  watching.answer = [&kernel](const CaughtCall_c& call, std::string& notes) { return kernel.answer(call, notes); };
  watching.prepare = [&clock, &folder] {
    mountDevices(clock);
    giveUpTheClock();
    const RecordingTools_c tools(folder.path(), {"hwclock"});
    if (!clock.hwclock.empty()) {
      putTool(folder.path(), clock.hwclock);
    }
  };
  const WatchedEnding_s run = runWatched(watching, function);
  return {run.ending, run.notes, readFile(folder.path() + "/calls")};
}

} // namespace TestSupport
