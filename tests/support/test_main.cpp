#include <gtest/gtest.h>

#include "support/test_env.h"

int main(int argc, char** argv) {
  // Fix the private folders before anything reads HOME or the XDG variables.
  tessaroven::test::TestRoot();
  int exitCode = 0;
  if (tessaroven::test::RunAsChildIfAsked(argc, argv, exitCode)) return exitCode;
  testing::InitGoogleTest(&argc, argv);
  exitCode = RUN_ALL_TESTS();
  tessaroven::test::RemoveTestRootIfOwner();
  return exitCode;
}
