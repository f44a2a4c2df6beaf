#include "auspool/audict.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "support/watch.h"

namespace auspool::tags {
namespace {

struct Release {
  void operator()(audict *value) const { audict_release(value); }
};
using Value = std::unique_ptr<audict, Release>;

std::string printed(const audict *value) {
  return audict_string(Value(audict_print(value)).get());
}

Value sample() {
  Value tag(audict_create());
  audict_set_string(tag.get(), "Title", "Night \"Train\"\n");
  audict_set_integer(tag.get(), "Year", 1952, AUDICT_INT32);
  audict_set_boolean(tag.get(), "Compilation", true);
  audict_set_data(tag.get(), "AlbumCover", "abc", 3);
  Value chapters(audict_create_array());
  Value element(audict_create());
  audict_set_float(element.get(), "Start", 1.5, AUDICT_FLOAT64);
  audict_append(chapters.get(), element.get());
  audict_set(tag.get(), "Chapters", chapters.get());
  return tag;
}

TEST(Audict, AddingKeepsAndSettingReplaces) {
  const Value tag(audict_create());
  EXPECT_TRUE(audict_add_string(tag.get(), "Title", "first"));
  EXPECT_TRUE(audict_add_string(tag.get(), "Title", "second"));
  EXPECT_STREQ(audict_get_string(tag.get(), "Title"), "first");
  EXPECT_TRUE(audict_set_string(tag.get(), "Title", "third"));
  EXPECT_STREQ(audict_get_string(tag.get(), "Title"), "third");
  EXPECT_EQ(audict_count(tag.get()), 1u);
}

TEST(Audict, KeysAreCaseSensitive) {
  const Value tag = sample();
  EXPECT_EQ(audict_get(tag.get(), "title"), nullptr);
  EXPECT_NE(audict_get(tag.get(), "Title"), nullptr);
}

TEST(Audict, EntriesStandInTheOrderInWhichTheirKeysCame) {
  const Value tag(audict_create());
  for (const char *key : {"c", "a", "b"}) audict_set_string(tag.get(), key, key);
  audict_set_string(tag.get(), "a", "again");
  audict_remove(tag.get(), "c");
  audict_set_string(tag.get(), "c", "back");
  EXPECT_EQ(printed(tag.get()), R"({"a": "again", "b": "b", "c": "back"})");
  EXPECT_STREQ(audict_key_at(tag.get(), 2), "c");
  EXPECT_STREQ(audict_string(audict_at(tag.get(), 2)), "back");
  EXPECT_EQ(audict_key_at(tag.get(), 3), nullptr);
  EXPECT_EQ(audict_at(tag.get(), 3), nullptr);
}

TEST(Audict, TheSixKindsStayDistinct) {
  const Value tag = sample();
  const auto kind = [&](const char *key) { return audict_kind_of(audict_get(tag.get(), key)); };
  EXPECT_EQ(kind("Title"), AUDICT_STRING);
  EXPECT_EQ(kind("Year"), AUDICT_NUMBER);
  EXPECT_EQ(kind("Compilation"), AUDICT_BOOLEAN);
  EXPECT_EQ(kind("AlbumCover"), AUDICT_DATA);
  EXPECT_EQ(kind("Chapters"), AUDICT_ARRAY);
  EXPECT_EQ(audict_kind_of(tag.get()), AUDICT_DICTIONARY);
  EXPECT_EQ(kind("nothing"), AUDICT_NONE);
  std::int64_t number = 7;
  bool truth = false;
  EXPECT_FALSE(audict_get_integer(tag.get(), "Compilation", &number));
  EXPECT_FALSE(audict_get_boolean(tag.get(), "Year", &truth));
  EXPECT_EQ(audict_get_string(tag.get(), "AlbumCover"), nullptr);
  EXPECT_EQ(number, 7);
}

TEST(Audict, NumbersKeepWidthAndSign) {
  const Value byte(audict_create_integer(-1, AUDICT_INT8));
  std::int64_t number = 0;
  EXPECT_TRUE(audict_integer(byte.get(), &number));
  EXPECT_EQ(number, -1);
  EXPECT_EQ(audict_number_type_of(byte.get()), AUDICT_INT8);
  EXPECT_EQ(audict_create_integer(128, AUDICT_INT8), nullptr);
  EXPECT_EQ(audict_create_integer(40000, AUDICT_INT16), nullptr);
  EXPECT_EQ(audict_create_integer(1LL << 31, AUDICT_INT32), nullptr);
  EXPECT_EQ(audict_create_integer(1, AUDICT_FLOAT64), nullptr);
  EXPECT_EQ(audict_create_float(1, AUDICT_INT32), nullptr);
  const Value single(audict_create_float(0.1, AUDICT_FLOAT32));
  double real = 0;
  EXPECT_TRUE(audict_float(single.get(), &real));
  EXPECT_EQ(real, static_cast<double>(0.1f));
}

TEST(Audict, FloatsReadAsIntegersWhenTheyFit) {
  std::int64_t number = 0;
  EXPECT_TRUE(audict_integer(Value(audict_create_float(-2.9, AUDICT_FLOAT64)).get(), &number));
  EXPECT_EQ(number, -2);
  for (const double beyond : {9.3e18, -9.3e18, 9223372036854775808.0, std::nan(""), HUGE_VAL}) {
    EXPECT_FALSE(audict_integer(Value(audict_create_float(beyond, AUDICT_FLOAT64)).get(), &number)) << beyond;
  }
}

TEST(Audict, TextThatIsNotUtf8IsRefused) {
  const Value tag(audict_create());
  for (const char *bad : {"\xFF", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "a\x80"}) {
    EXPECT_EQ(audict_create_string(bad), nullptr);
    EXPECT_FALSE(audict_set_string(tag.get(), bad, "x"));
  }
  EXPECT_NE(Value(audict_create_string("\xF0\x9F\x8E\xB5\xC3\xA9")), nullptr);
  EXPECT_EQ(audict_count(tag.get()), 0u);
}

TEST(Audict, NullMeansNoSuchValue) {
  EXPECT_EQ(audict_get(nullptr, "Title"), nullptr);
  EXPECT_EQ(audict_count(nullptr), 0u);
  EXPECT_EQ(audict_string(nullptr), nullptr);
  EXPECT_EQ(audict_copy(nullptr), nullptr);
  EXPECT_EQ(audict_create_string(nullptr), nullptr);
  EXPECT_EQ(audict_create_data(nullptr, 1), nullptr);
  EXPECT_FALSE(audict_set_string(nullptr, "Title", "x"));
  EXPECT_FALSE(audict_append(nullptr, nullptr));
  EXPECT_TRUE(audict_equal(nullptr, nullptr));
  EXPECT_EQ(printed(nullptr), "null");
  std::size_t length = 9;
  EXPECT_EQ(audict_data(nullptr, &length), nullptr);
  EXPECT_EQ(length, 0u);
  const Value tag(audict_create());
  EXPECT_FALSE(audict_set(tag.get(), "Title", nullptr));
  EXPECT_FALSE(audict_set_string(tag.get(), nullptr, "x"));
  EXPECT_FALSE(audict_equal(tag.get(), nullptr));
  audict_release(nullptr);
}

TEST(Audict, DataOfNoBytesIsData) {
  const Value empty(audict_create_data(nullptr, 0));
  std::size_t length = 9;
  EXPECT_NE(audict_data(empty.get(), &length), nullptr);
  EXPECT_EQ(length, 0u);
}

TEST(Audict, WhatStandsInAContainerIsFixed) {
  const Value outer(audict_create()), inner(audict_create());
  EXPECT_TRUE(audict_set(outer.get(), "inner", inner.get()));
  EXPECT_FALSE(audict_set_string(inner.get(), "late", "x"));
  EXPECT_FALSE(audict_set(inner.get(), "outer", outer.get())) << "this would be a cycle";
  EXPECT_FALSE(audict_set(outer.get(), "self", outer.get()));
  const Value copy(audict_copy(inner.get()));
  EXPECT_TRUE(audict_set_string(copy.get(), "late", "x"));
}

TEST(Audict, ContainersStandInEachOtherToALimit) {
  Value value(audict_create_array());
  for (int depth = 1; depth < AUDICT_DEPTH_MAX; ++depth) {
    Value outer(audict_create_array());
    ASSERT_TRUE(audict_append(outer.get(), value.get())) << depth;
    value = std::move(outer);
  }
  const Value outer(audict_create());
  EXPECT_FALSE(audict_set(outer.get(), "deep", value.get()));
}

TEST(Audict, ArraysReplaceAndRemoveByPlace) {
  const Value array(audict_create_array());
  for (const char *text : {"a", "b", "c"}) audict_append(array.get(), Value(audict_create_string(text)).get());
  EXPECT_TRUE(audict_replace_at(array.get(), 1, Value(audict_create_boolean(false)).get()));
  EXPECT_TRUE(audict_remove_at(array.get(), 0));
  EXPECT_EQ(printed(array.get()), R"([false, "c"])");
  EXPECT_FALSE(audict_replace_at(array.get(), 2, array.get()));
  EXPECT_FALSE(audict_remove_at(array.get(), 2));
  EXPECT_FALSE(audict_set_string(array.get(), "key", "x"));
}

TEST(Audict, EqualityGoesByContent) {
  const Value a = sample(), b = sample();
  EXPECT_TRUE(audict_equal(a.get(), b.get()));
  audict_set_integer(b.get(), "Year", 1952, AUDICT_INT16);
  EXPECT_TRUE(audict_equal(a.get(), b.get())) << "the type of a number does not count";
  audict_remove(b.get(), "Title");
  EXPECT_FALSE(audict_equal(a.get(), b.get()));
  audict_set_string(b.get(), "Title", "Night \"Train\"\n");
  EXPECT_TRUE(audict_equal(a.get(), b.get())) << "nor does the order of entries";
  audict_set_boolean(b.get(), "Year", true);
  EXPECT_FALSE(audict_equal(a.get(), b.get()));
}

TEST(Audict, NumbersOfUnlikeTypesCompareExactly) {
  const auto equal = [](std::int64_t integer, double real) {
    return audict_equal(Value(audict_create_integer(integer, AUDICT_INT64)).get(),
                        Value(audict_create_float(real, AUDICT_FLOAT64)).get());
  };
  EXPECT_TRUE(equal(3, 3.0));
  EXPECT_FALSE(equal(3, 3.5));
  EXPECT_FALSE(equal((1LL << 53) + 1, 9007199254740992.0));
  EXPECT_FALSE(equal(std::numeric_limits<std::int64_t>::max(), 9223372036854775808.0));
  const Value one(audict_create_integer(1, AUDICT_INT32)), yes(audict_create_boolean(true));
  EXPECT_FALSE(audict_equal(one.get(), yes.get()));
  const Value nan(audict_create_float(std::nan(""), AUDICT_FLOAT64)), other(audict_copy(nan.get()));
  EXPECT_TRUE(audict_equal(nan.get(), other.get()));
}

TEST(Audict, ACopyIsIndependent) {
  const Value tag = sample(), copy(audict_copy(tag.get()));
  EXPECT_TRUE(audict_equal(tag.get(), copy.get()));
  audict_set_string(copy.get(), "Title", "other");
  EXPECT_STREQ(audict_get_string(tag.get(), "Title"), "Night \"Train\"\n");
}

TEST(Audict, PrintsAsJson) {
  EXPECT_EQ(printed(sample().get()), R"({"Title": "Night \"Train\"\u000a", "Year": 1952, "Compilation": true, )"
                                     R"("AlbumCover": {"length": 3}, "Chapters": [{"Start": 1.5}]})");
  EXPECT_EQ(printed(Value(audict_create_float(HUGE_VAL, AUDICT_FLOAT64)).get()), "null");
  EXPECT_EQ(printed(Value(audict_create_float(0.1, AUDICT_FLOAT32)).get()), "0.1");
}

TEST(Audict, FailedAllocationsAreReportedAndLeaveNothing) {
  const long before = testing::live_allocations();
  const int failed = testing::fail_each_allocation([] {
    const Value tag(audict_create()), array(audict_create_array());
    const Value text(audict_create_string("a text that is too long to stand inside the object"));
    bool good = tag && array && text && audict_append(array.get(), text.get());
    good = good && audict_set_data(tag.get(), "a key that is too long for it too", "abc", 3);
    good = good && audict_set(tag.get(), "array", array.get());
    const Value copy(audict_copy(tag.get())), print(audict_print(tag.get()));
    return good && copy && print;
  });
  EXPECT_GT(failed, 8);
  EXPECT_EQ(testing::live_allocations(), before);
}

TEST(Audict, AFailedChangeLeavesTheDictionaryAsItWas) {
  const Value tag = sample(), same = sample(), value(audict_create_boolean(true));
  bool done = false;
  for (int nth = 1; !done; ++nth) {
    const testing::AllocationFailer failer(nth);
    done = audict_set(tag.get(), "a new key that needs memory of its own", value.get());
    EXPECT_NE(done, failer.failed());
    EXPECT_EQ(audict_equal(tag.get(), same.get()), !done);
  }
  EXPECT_EQ(audict_count(tag.get()), audict_count(same.get()) + 1);
}

}  // namespace
}  // namespace auspool::tags
