#include "platform/property_list.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "support/programs.h"
#include "support/temp_dir.h"

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

std::string written(const audict *value) {
  const auto bytes = write_binary_property_list(value);
  return bytes ? std::string(bytes->begin(), bytes->end()) : "nothing";
}

TEST(PropertyList, WhatIsWrittenIsReadBack) {
  for (const char *content :
       {"<string>caf\xC3\xA9 &amp; x</string>", "<integer>42</integer>", "<integer>-3</integer>", "<real>1.5</real>",
        "<true/>", "<data>AAEC</data>", "<data></data>", "<array><string>a</string><false/></array>",
        "<dict><key>k</key><array/><key>l</key><dict><key>m</key><integer>9876543210</integer></dict></dict>"}) {
    const Value value = read(xml(content));
    const std::string bytes = written(value.get());
    EXPECT_EQ(bytes.substr(0, 8), "bplist00");
    EXPECT_TRUE(audict_equal(read(bytes).get(), value.get())) << content;
  }
}

TEST(PropertyList, AnotherReaderFindsTheSame) {
  if (std::system("command -v python3 >/dev/null") != 0) GTEST_SKIP() << "there is no python3";
  const testing::TempDir folder;
  testing::write_file(folder.file("list"), written(read(xml("<dict><key>n</key><integer>-3</integer><key>d</key>"
                                                            "<data>AAEC</data><key>a</key><array><true/></array>"
                                                            "</dict>"))
                                                       .get()));
  EXPECT_EQ(testing::run("python3 -c 'import plistlib, sys; print(plistlib.load(open(sys.argv[1], \"rb\")))' " +
                         testing::quoted(folder.file("list")))
                .output,
            "{'n': -3, 'd': b'\\x00\\x01\\x02', 'a': [True]}\n");
}

TEST(PropertyList, NothingIsWrittenOfNothing) {
  EXPECT_EQ(written(nullptr), "nothing");
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
