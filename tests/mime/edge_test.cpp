#include "mime/edge.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

namespace zevka::test {
namespace {

TEST(OrFailure, GivesTheResultOfTheWork) {
  EXPECT_EQ(OrFailure(-1, [] { return 7; }), 7);
  EXPECT_EQ(OrFailure<const char*>("failed", [] { return "done"; }), std::string("done"));
}

TEST(OrFailure, GivesTheFailureWhenMemoryRunsOut) {
  EXPECT_EQ(OrFailure(-1, []() -> int { throw std::bad_alloc(); }), -1);
  EXPECT_EQ(OrFailure(0, []() -> int { throw std::length_error("too long"); }), 0);
}

}  // namespace
}  // namespace zevka::test
