#include "ChildProcess.h"
#include "Files.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <regex>

using namespace TestSupport;

namespace {

constexpr const char* includeFolder = ZEMO_SOURCE_DIR "/Utils/include";
constexpr const char* guardFolder = ZEMO_SOURCE_DIR "/Utils/no_threads";

// The warnings of the build, from the one place where they stand.
std::vector<std::string> warnings() {
  const std::string flags = readFile(ZEMO_SOURCE_DIR "/cmake/CompilerFlags.cmake");
  const std::regex warning("-W[A-Za-z0-9=+-]+");
  std::vector<std::string> found;
  for (std::sregex_iterator next(flags.begin(), flags.end(), warning), end; next != end; ++next) {
    found.push_back(next->str());
  }
  return found;
}

Ending_s compile(const std::vector<std::string>& compiler, const std::vector<std::string>& options,
                 const std::string& source) {
  std::vector<std::string> arguments = compiler;
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.insert(arguments.end(), {"-fsyntax-only", "-isystem", ZEMO_SOURCE_DIR "/platform/isoaglib/include",
                                     "-isystem", ZEMO_SOURCE_DIR "/platform/console/include", "-x", "c++", "-"});
  return runProgram(arguments, source);
}

Ending_s compileForUsers(const std::vector<std::string>& compiler, const std::string& source) {
  std::vector<std::string> options = warnings();
  options.insert(options.end(), {"-I", includeFolder});
  return compile(compiler, options, source);
}

std::string nameOf(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

struct Dialect_s {
  const char* compiler;
  const char* standard;
  const char* bits;
};

void PrintTo(const Dialect_s& dialect, std::ostream* stream) {
  *stream << dialect.compiler << " -std=" << dialect.standard << " " << dialect.bits;
}

std::vector<Dialect_s> dialects() {
  std::vector<Dialect_s> all;
  for (const char* compiler : {"g++", "clang++"}) {
    for (const char* standard : {"c++11", "c++14", "c++17", "c++20"}) {
      // The other bitness is the other build's.
      all.push_back({compiler, standard, sizeof(void*) == 8 ? "-m64" : "-m32"});
    }
  }
  return all;
}

std::string rowName(const testing::TestParamInfo<Dialect_s>& row) {
  std::string name = std::string(row.param.compiler) + "_" + row.param.standard;
  std::replace(name.begin(), name.end(), '+', 'x');
  return name;
}

} // namespace

class ExportedHeaders : public testing::TestWithParam<Dialect_s> {
protected:
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer makes no difference to the headers";
#endif
    m_compiler = {GetParam().compiler, std::string("-std=") + GetParam().standard, GetParam().bits};
    if (compile(m_compiler, {}, "#include <string>\n").exitStatus != 0) {
      GTEST_SKIP() << testing::PrintToString(GetParam()) << " is not installed";
    }
  }

  std::vector<std::string> m_compiler;
};

TEST_P(ExportedHeaders, CompileEachByItself) {
  const std::vector<std::string> headers = filesIn(includeFolder, ".h");
  EXPECT_LE(7U, headers.size());
  for (const std::string& header : headers) {
    const std::string include = "#include \"" + nameOf(header) + "\"\n";
    const Ending_s compiler = compileForUsers(m_compiler, include + include);
    EXPECT_EQ(0, compiler.exitStatus) << compiler.standardError;
    EXPECT_EQ("", compiler.standardError);
  }
}

INSTANTIATE_TEST_SUITE_P(, ExportedHeaders, testing::ValuesIn(dialects()), rowName);

namespace {

const std::vector<std::string> compilerOfTheBuild = {"g++", "-std=c++17"};

} // namespace

TEST(HeaderCheck, ReportsAHeaderThatNeedsAnother) {
  const Ending_s compiler = compileForUsers(compilerOfTheBuild, "inline std::string text() { return {}; }\n");
  EXPECT_NE(0, compiler.exitStatus);
}

TEST(HeaderCheck, ReportsAHeaderWithAWarning) {
  const Ending_s compiler = compileForUsers(
      compilerOfTheBuild, "struct Base_s { virtual int get() = 0; };\ninline int first(int, int all) { return 0; }\n");
  EXPECT_NE(0, compiler.exitStatus);
  EXPECT_NE(std::string::npos, compiler.standardError.find("-Werror=non-virtual-dtor")) << compiler.standardError;
  EXPECT_NE(std::string::npos, compiler.standardError.find("-Werror=unused-parameter")) << compiler.standardError;
}

TEST(NoThreadsGuard, StopsEveryHeaderOfThreadsAndLocks) {
  for (const char* header : {"atomic", "condition_variable", "future", "mutex", "shared_mutex", "thread"}) {
    const std::string source = std::string("#include <") + header + ">\n";
    const Ending_s guarded = compile(compilerOfTheBuild, {"-I", guardFolder}, source);
    EXPECT_NE(0, guarded.exitStatus) << header;
    EXPECT_NE(std::string::npos, guarded.standardError.find(std::string("<") + header + "> has no place in it"))
        << guarded.standardError;
    EXPECT_EQ(0, compile(compilerOfTheBuild, {}, source).exitStatus) << header;
  }
}

TEST(NoThreadsGuard, LetsEverySourceOfTheLibraryThrough) {
  const std::vector<std::string> sources = filesIn(ZEMO_SOURCE_DIR "/Utils/src", ".cpp");
  EXPECT_LE(5U, sources.size());
  for (const std::string& path : sources) {
    const Ending_s guarded =
        compile(compilerOfTheBuild, {"-I", guardFolder, "-I", includeFolder, "-I", ZEMO_SOURCE_DIR "/Utils/src"},
                readFile(path));
    EXPECT_EQ(0, guarded.exitStatus) << path << "\n" << guarded.standardError;
  }
}

TEST(NoThreadsGuard, StandsInFrontOfTheBuildOfEverySource) {
  // Each object file of the library is built by a rule that names the folder.
  const std::string rulesFile = ZEMO_BINARY_DIR "/build.ninja";
  if (filesIn(ZEMO_BINARY_DIR, "/build.ninja").empty()) {
    GTEST_SKIP() << "only the rules of Ninja are known";
  }
  const std::string rules = readFile(rulesFile);
  const std::regex objectOfLibrary(
      "build Utils/CMakeFiles/zemoUtils\\.dir/src/[A-Za-z0-9_]+\\.cpp\\.o:[^\n]*\n((  [^\n]*\n)*)");
  std::size_t objects = 0;
  for (std::sregex_iterator next(rules.begin(), rules.end(), objectOfLibrary), end; next != end; ++next) {
    ++objects;
    const std::string rule = next->str();
    const std::size_t includes = rule.find("  INCLUDES = ");
    ASSERT_NE(std::string::npos, includes) << rule;
    EXPECT_EQ(includes, rule.find(std::string("  INCLUDES = -I") + guardFolder)) << rule;
  }
  EXPECT_EQ(filesIn(ZEMO_SOURCE_DIR "/Utils/src", ".cpp").size(), objects);
}
