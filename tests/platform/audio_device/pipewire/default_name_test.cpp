#include "platform/audio_device/pipewire/default_name.h"

#include <gtest/gtest.h>

namespace auspool::platform {
namespace {

TEST(DefaultName, IsReadFromJson) {
  EXPECT_EQ(name_in_json("{\"name\":\"alsa_output.pci\"}"), "alsa_output.pci");
  EXPECT_EQ(name_in_json("{ \"priority\": \"7\", \"name\": \"a b\" }"), "a b");
}

TEST(DefaultName, IsEmptyWhereThereIsNone) {
  for (const char *const json : {"", "{}", "{\"name\":", "name", "[\"name\"]", "{\"other\":\"x\"}", "\"name\""}) {
    EXPECT_EQ(name_in_json(json), "") << json;
  }
  EXPECT_EQ(name_in_json(nullptr), "");
}

TEST(DefaultName, SurvivesTheWayThere) {
  for (const std::string name :
       {"plain", "with \"quotes\" and \\", "Lautsprecher für Gäste", "tab\tand\nline\x01", ""}) {
    EXPECT_EQ(name_in_json(json_with_name(name).c_str()), name);
  }
}

}  // namespace
}  // namespace auspool::platform
