#include "platform/property_list.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace auspool::platform {
namespace {

struct Release {
  void operator()(audict *value) const { audict_release(value); }
};
using Value = std::unique_ptr<audict, Release>;

Value read(const std::string &bytes) {
  return Value(read_property_list({reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()}));
}

std::string printed(const std::string &bytes) {
  return audict_string(Value(audict_print(read(bytes).get())).get());
}

std::string xml(const std::string &content) {
  return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0">)" + content + "</plist>";
}

TEST(PropertyList, EveryKindOfValueIsRead) {
  EXPECT_EQ(printed(xml("<string>caf\xC3\xA9 &amp; x</string>")), "\"café & x\"");
  EXPECT_EQ(printed(xml("<integer>42</integer>")), "42");
  EXPECT_EQ(printed(xml("<integer>-3</integer>")), "-3");
  EXPECT_EQ(printed(xml("<real>1.5</real>")), "1.5");
  EXPECT_EQ(printed(xml("<true/>")), "true");
  EXPECT_EQ(printed(xml("<data>AAEC</data>")), R"({"length": 3})");
  EXPECT_EQ(printed(xml("<array><string>a</string><false/></array>")), R"(["a", false])");
  EXPECT_EQ(printed(xml("<dict><key>k</key><array/></dict>")), R"({"k": []})");
}

TEST(PropertyList, TheBinaryFormIsReadToo) {
  // ["ab"]: an array of one string, the offsets of both, and the trailer.
  const std::string binary(
      "bplist00\xA1\x01\x52"
      "ab"
      "\x08\x0A"
      "\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\2\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0D",
      47);
  EXPECT_EQ(printed(binary), R"(["ab"])");
}

TEST(PropertyList, OtherBytesAndKindsGiveNothing) {
  for (const std::string &bytes : {std::string(), std::string("bplist00"), std::string("text"), xml(""),
                                   xml("<dict><key>k"), xml("<date>2026-01-01T00:00:00Z</date>")}) {
    EXPECT_EQ(read(bytes), nullptr) << bytes;
  }
}

TEST(PropertyList, NestingBeyondTheLimitGivesNothing) {
  std::string deep;
  for (int i = 0; i < 100; ++i) deep = "<array>" + deep + "</array>";
  EXPECT_EQ(read(xml(deep)), nullptr);
}

}  // namespace
}  // namespace auspool::platform
