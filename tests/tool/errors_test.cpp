#include "tool/errors.h"

#include <gtest/gtest.h>

namespace orv::tool {
namespace {

TEST(StatusLine, HasNameNumberAndTextOnOneLine) {
  EXPECT_EQ(statusLine(CMPI_RC_ERR_NOT_FOUND, "no\nsuch thing"),
            "CMPI_RC_ERR_NOT_FOUND (6): no\\nsuch thing");
}

TEST(StatusLine, TellsSomethingWhenTheProviderSaidNothing) {
  EXPECT_EQ(statusLine(CMPI_RC_ERR_INVALID_CLASS, std::nullopt),
            "CMPI_RC_ERR_INVALID_CLASS (5): Class not found");
  EXPECT_EQ(statusLine(CMPI_RC_ERR_NOT_SUPPORTED, ""),
            "CMPI_RC_ERR_NOT_SUPPORTED (7): The requested operation is not supported");
  EXPECT_EQ(statusLine(static_cast<CMPIrc>(77), std::nullopt), "77: The provider gave no reason");
}

}  // namespace
}  // namespace orv::tool
