// The command line of the example programs: long options from a table, values with clear errors.
#pragma once

#include <getopt.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace example {

// The program was called wrongly: exit status 2.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Runs the program and returns its exit status; an exception is told and gives 2 or 1.
inline int guarded(const char *name, const std::function<int()> &program) try {
  return program();
} catch (const UsageError &error) {
  std::fprintf(stderr, "%s: %s; --help tells more\n", name, error.what());
  return 2;
} catch (const std::exception &error) {
  std::fprintf(stderr, "%s: %s\n", name, error.what());
  return 1;
}

// Whether the user wants the program to end. Asked for once, an interrupt no longer kills the program: ask before there
// is anything unfinished to take back.
inline bool interrupted() {
  static std::atomic<bool> wanted = false;
  static const bool caught = [] {
    for (const int number : {SIGINT, SIGTERM}) std::signal(number, [](int) { wanted = true; });
    return true;
  }();
  return caught && wanted;
}

struct Option {
  const char *name;
  bool takes_value;
  std::function<void(const std::string &value)> set;
};

// Calls the setter of each option as it comes and returns the arguments that are no options.
inline std::vector<std::string> parse(int argc, char **argv, const std::vector<Option> &options) {
  std::vector<option> known;
  for (const Option &one : options) known.push_back({one.name, one.takes_value, nullptr, 0});
  known.push_back({});
  opterr = 0;
  for (int found = 0, kind; (kind = getopt_long(argc, argv, ":", known.data(), &found)) != -1;) {
    const std::string given = optopt ? std::string("-") + static_cast<char>(optopt) : argv[optind - 1];
    if (kind == ':') throw UsageError(given + " needs a value");
    if (kind == '?') throw UsageError("there is no option " + given);
    const Option &one = options[static_cast<std::size_t>(found)];
    const std::string value = optarg ? optarg : "";
    try {
      one.set(value);
    } catch (const UsageError &error) {
      throw UsageError("--" + std::string(one.name) + " " + value + ": " + error.what());
    }
  }
  return {argv + optind, argv + argc};
}

inline double number(const std::string &text, double low, double high) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc() && end == text.data() + text.size() && value >= low && value <= high) return value;
  char wanted[100];
  snprintf(wanted, sizeof wanted, "a number from %.10g to %.10g is wanted", low, high);
  throw UsageError(wanted);
}

// A length in seconds or a size in bytes, from a number with a unit.
struct Limit {
  std::int64_t value = 0;
  bool is_time = false;
};
inline Limit limit(const std::string &text) {
  constexpr struct {
    const char *unit;
    double size;
    bool is_time;
  } kUnits[] = {{"s", 1, true},         {"min", 60, true},      {"h", 3600, true},
                {"KiB", 0x1p10, false}, {"MiB", 0x1p20, false}, {"GiB", 0x1p30, false}};
  const std::size_t digits = std::min(text.find_first_not_of("0123456789."), text.size());
  for (const auto &known : kUnits)
    if (text.substr(digits) == known.unit)
      return {std::llround(number(text.substr(0, digits), 0, 1e6) * known.size), known.is_time};
  throw UsageError("a length as 90s or a size as 5MiB is wanted");
}

// The usual options: a flag, a text, a number in a range, one of some words, a limit. Each stores into `target`, which
// has its default before.
inline Option flag(const char *name, bool &target) {
  return {name, false, [&target](const std::string &) { target = true; }};
}

template <typename Target>
Option text_option(const char *name, Target &target) {
  return {name, true, [&target](const std::string &text) { target = text; }};
}

template <typename Target>
Option number_option(const char *name, Target &target, double low, double high) {
  return {name, true, [=, &target](const std::string &text) {
            const double value = number(text, low, high);
            if (std::is_integral_v<Target> && value != std::trunc(value)) throw UsageError("a whole number is wanted");
            target = static_cast<Target>(value);
          }};
}

template <typename Target>
Option choice_option(const char *name, Target &target, const std::vector<std::pair<std::string, int>> &choices) {
  return {name, true, [choices, &target](const std::string &text) {
            std::string words;
            for (const auto &[word, value] : choices) {
              if (word == text) return void(target = static_cast<Target>(value));
              words += (words.empty() ? "" : " or ") + word;
            }
            throw UsageError(words + " is wanted");
          }};
}

inline Option limit_option(const char *name, Limit &target) {
  return {name, true, [&target](const std::string &text) { target = limit(text); }};
}

}  // namespace example
