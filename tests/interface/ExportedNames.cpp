#include "ChildProcess.h"
#include "Files.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

using namespace TestSupport;

namespace {

// Sorted, each name as often as it occurs.
using Names_t = std::vector<std::string>;

// The documented names; '#' begins a comment.
Names_t documentedNames() {
  std::istringstream lines(readFile(ZEMO_SOURCE_DIR "/tests/data/exported_names.txt"));
  Names_t names;
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line[0] != '#') {
      names.push_back(line);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

// The dynamic symbols of a library, without address and type. The first of nm's columns is missing where a name has no
// address.
Names_t dynamicNames(const std::string& library, const std::string& which) {
  const Ending_s nm = runProgram({"nm", "-D", "-C", which, library});
  EXPECT_EQ(0, nm.exitStatus) << nm.standardError;
  std::istringstream lines(nm.standardOutput);
  Names_t names;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t type = line.find_first_of("TtDdBbRrVvWwUuiA", line.find(' ') == 0 ? 0 : line.find(' '));
    names.push_back(line.substr(type + 2));
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string differences(const Names_t& documented, const Names_t& exported) {
  Names_t missing;
  Names_t undocumented;
  std::set_difference(documented.begin(), documented.end(), exported.begin(), exported.end(),
                      std::back_inserter(missing));
  std::set_difference(exported.begin(), exported.end(), documented.begin(), documented.end(),
                      std::back_inserter(undocumented));
  std::string text;
  for (const std::string& name : missing) {
    text += "missing: " + name + "\n";
  }
  for (const std::string& name : undocumented) {
    text += "not documented: " + name + "\n";
  }
  return text;
}

bool contains(const Names_t& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

TEST(ExportedNames, AreExactlyTheDocumentedOnes) {
  EXPECT_EQ("", differences(documentedNames(), dynamicNames(ZEMO_LIBRARY, "--defined-only")));
}

TEST(ExportedNames, AreReportedWhereALibraryHasOneMoreOrOneLess) {
  const TemporaryFolder_c folder;
  const std::string library = folder.path() + "/libsibling.so";
  const Ending_s compiler =
      runProgram({"g++", "-shared", "-fPIC", "-x", "c++", "-", "-o", library},
                 "#include <vector>\n"
                 "extern \"C\" int GetHardwareRevision() { return 0; }\n"
                 "const char* getUtilsVersion(int) { return \"\"; }\n"
                 "int helperOfTheLibrary(std::vector<int>& all) { all.push_back(1); return 0; }\n");
  ASSERT_EQ(0, compiler.exitStatus) << compiler.standardError;
  const std::string report = differences(documentedNames(), dynamicNames(library, "--defined-only"));
  EXPECT_NE(std::string::npos, report.find("not documented: helperOfTheLibrary(")) << report;
  EXPECT_NE(std::string::npos, report.find("not documented: void std::vector<int")) << report;
  EXPECT_NE(std::string::npos, report.find("not documented: getUtilsVersion(int)\n")) << report;
  EXPECT_NE(std::string::npos, report.find("missing: getUtilsVersion()\n")) << report;
  EXPECT_NE(std::string::npos, report.find("missing: __IsoAgLib::ZemoApp::close()\n")) << report;
  EXPECT_EQ(std::string::npos, report.find("GetHardwareRevision\n")) << report;
}

TEST(LibraryName, TellsTheMajorVersionOfTheInterface) {
  const Ending_s readelf = runProgram({"readelf", "-d", ZEMO_LIBRARY});
  ASSERT_EQ(0, readelf.exitStatus) << readelf.standardError;
  EXPECT_NE(std::string::npos, readelf.standardOutput.find("Library soname: [libzemoUtils.so.1]\n"))
      << readelf.standardOutput;
}

TEST(LibraryDependencies, LeaveStackAndConsoleToTheApplication) {
  const Names_t undefined = dynamicNames(ZEMO_LIBRARY, "--undefined-only");
  for (const char* name :
       {"isoaglib_assert_callStart()", "getIsoAgLibVersion()", "getDBusInterfaceInstance()", "GetConsoleHWVersion",
        "__IsoAgLib::IdentItem_c::setUseWorkingSet(bool)", "__IsoAgLib::CanIo_c::init(unsigned char, unsigned int)"}) {
    EXPECT_TRUE(contains(undefined, name)) << name;
  }
}

TEST(LibraryDependencies, AreTheLanguagesLibrariesOnly) {
  const Ending_s readelf = runProgram({"readelf", "-d", ZEMO_LIBRARY});
  ASSERT_EQ(0, readelf.exitStatus) << readelf.standardError;
  std::istringstream lines(readelf.standardOutput);
  int needed = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.find("(NEEDED)") == std::string::npos) {
      continue;
    }
    ++needed;
    const std::string name = line.substr(line.find('['));
    // The second row are the run-time libraries of the sanitizers.
    const std::vector<std::string> allowed = {"[libstdc++.so", "[libc++.so",  "[libgcc_s.so", "[libc.so",
                                              "[libm.so",      "[ld-linux",   "[libasan.so",  "[libubsan.so",
                                              "[libtsan.so",   "[libclang_rt"};
    EXPECT_TRUE(std::any_of(allowed.begin(), allowed.end(), [&name](const std::string& begin) {
      return name.compare(0, begin.size(), begin) == 0;
    })) << line;
  }
  EXPECT_LT(0, needed);
}

// Threads are started by Thread_c alone, where an application asks for one.
TEST(LibraryDependencies, HoldNoLockAndNoThreadButThoseOfApplications) {
  Names_t ofThreads;
  for (const std::string& name : dynamicNames(ZEMO_LIBRARY, "--undefined-only")) {
    for (const char* begin : {"pthread_", "mtx_", "thrd_", "sem_", "std::thread", "std::mutex",
                              "std::condition_variable", "std::_V2::condition_variable", "fork", "clone"}) {
      if (name.find(begin) == 0) {
        ofThreads.push_back(name.substr(0, name.find('@')));
      }
    }
  }
  EXPECT_EQ(Names_t({"pthread_create", "pthread_detach"}), ofThreads);
}
