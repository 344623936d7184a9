#include "platform/linux/hardware/kernel_texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace LinuxHost {
namespace {

using testing::IsEmpty;

TEST(CleanText, HasNoSpacesAtItsEndsAndNoneTwice) {
  EXPECT_EQ(cleanText("  WDC  WD40 \n"), "WDC WD40");
  EXPECT_EQ(cleanText(std::string("ab\0\0", 4)), "ab");
  EXPECT_EQ(cleanText(""), "");
}

TEST(CleanText, PrintsAndIsShort) {
  EXPECT_EQ(cleanText("a\x01\xff"
                      "b"),
            "a??b");
  EXPECT_EQ(cleanText(std::string(100000, 'x')).size(), 256u);
  EXPECT_EQ(cleanText(std::string(255, 'x') + " and more"), std::string(255, 'x'));
}

TEST(KeyText, HoldsNothingThatAReferenceCannotCarry) {
  EXPECT_EQ(keyText("t10.ATA \"X\",=5\\"), "t10.ATA__X___5_");
  EXPECT_EQ(keyText("naa.5000c500a1b2c3d4"), "naa.5000c500a1b2c3d4");
  EXPECT_EQ(keyText(std::string(100000, 'x')).size(), 200u);
}

TEST(Numbers, FillTheText) {
  EXPECT_EQ(unsignedNumber(" 12\n"), 12u);
  EXPECT_EQ(hexNumber("0x0c8000"), 0x0c8000u);
  EXPECT_EQ(hexNumber("ff"), 255u);
  for (const char* text : {"", " ", "-1", "1 2", "12x", "x", "99999999999999999999"}) {
    EXPECT_EQ(unsignedNumber(text), std::nullopt) << text;
  }
}

TEST(AerTotal, IsTheLastLinesNumber) {
  EXPECT_EQ(aerTotal("RxErr 1\nBadTLP 2\nTOTAL_ERR_COR 3\n"), 3u);
  EXPECT_EQ(aerTotal("TOTAL_ERR_FATAL 0"), 0u);
  for (const char* text : {"", "RxErr 1\n", "TOTAL_ERR_COR\n", "TOTAL_ERR_COR x\n"}) {
    EXPECT_EQ(aerTotal(text), std::nullopt) << text;
  }
}

TEST(LinkSpeed, IsInBitsPerSecond) {
  EXPECT_EQ(linkSpeed("6.0 Gbps"), 6'000'000'000u);
  EXPECT_EQ(linkSpeed("1.5 Gbps"), 1'500'000'000u);
  EXPECT_EQ(linkSpeed("22.5 Gbit\n"), 22'500'000'000u);
}

TEST(LinkSpeed, OfALinkThatIsDownIsAbsent) {
  for (const char* text : {"", "<unknown>", "Unknown", "Phy disabled", "Link Rate Failed", "6.0",
                           "0 Gbps", "-1 Gbps", "nan Gbps", "inf Gbps", "1e300 Gbps"}) {
    EXPECT_EQ(linkSpeed(text), std::nullopt) << text;
  }
}

TEST(MountInfo, ReadsPlaceDeviceAndOptions) {
  const auto mounts = parseMountInfo(
      "36 35 98:0 /mnt1 /mnt\\0402 rw,noatime master:1 - ext3 /dev/root ro,errors=continue\n"
      "37 35 8:1 / / ro - xfs /dev/my\\040disk rw\n");
  ASSERT_EQ(mounts.size(), 2u);
  EXPECT_EQ(mounts[0].device, "98:0");
  EXPECT_EQ(mounts[0].place, "/mnt 2");
  EXPECT_EQ(mounts[0].type, "ext3");
  EXPECT_EQ(mounts[0].source, "/dev/root");
  EXPECT_EQ(mounts[1].source, "/dev/my disk");
  EXPECT_TRUE(mounts[0].writable);
  EXPECT_FALSE(mounts[0].fileSystemWritable);
  EXPECT_FALSE(mounts[1].writable);
  EXPECT_TRUE(mounts[1].fileSystemWritable);
}

TEST(MountInfo, PassesOverOtherLines) {
  EXPECT_THAT(parseMountInfo(""), IsEmpty());
  EXPECT_THAT(parseMountInfo("\n\n36 35\n36 35 98:0 / / rw - ext3\n- - -\n"), IsEmpty());
  EXPECT_THAT(parseMountInfo(std::string(100000, ' ')), IsEmpty());
}

}  // namespace
}  // namespace LinuxHost
