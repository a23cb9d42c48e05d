// The main function of every test program: GoogleTest's, or cases one by one (EachCase.h).
#include <gtest/gtest.h>

#include <string>

#include "EachCase.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc == 4 && std::string(argv[1]) == "--each-case") {
    return TestSupport::runEachCase(argv[2], argv[3]) ? 0 : 1;
  }
  return RUN_ALL_TESTS();
}
