// For the tests of the two classes of MPEG-4 recorders: one of either that does not record, and an encoder that only
// notes what it is told.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "recorder/aurec_record.h"
#include "recorder/recorder_m4a.h"
#include "support/recording_host.h"

namespace auspool::testing {

class NotingCodec final : public platform::AudioCodec {
public:
  explicit NotingCodec(std::uint32_t subtype) : subtype_(subtype) {}

  bool set_property(std::uint32_t selector, std::uint32_t value) override {
    settings[selector] = value;
    return true;
  }
  std::uint32_t property(std::uint32_t) const override { return 0; }
  platform::StreamDescription output_format() const override {
    platform::StreamDescription format;
    format.format_id = subtype_;
    return format;
  }
  std::vector<std::uint8_t> magic_cookie() const override { return cookie; }
  std::int32_t initialize(const platform::StreamDescription &, const platform::StreamDescription &) override {
    return 0;
  }
  void uninitialize() override {}
  std::int32_t reset() override { return 0; }
  bool append_input_data(std::span<const std::uint8_t>) override { return false; }
  void end_of_stream() override {}
  Produced produce_output_packet(std::span<std::uint8_t>) override { return {Produced::kDone, 0}; }

  std::map<std::uint32_t, std::uint32_t> settings;
  std::vector<std::uint8_t> cookie;

private:
  const std::uint32_t subtype_;
};

template <typename Class, typename Options>
class M4aClasses : public ::testing::Test {
protected:
  // Opens what a recorder keeps to itself.
  class Open : public Class {
  public:
    using Class::Class;
    using Class::enc_rate;
    using Class::post_encode_hack;
    using Class::prepare_codec;
    using Class::rate_out;
  };
  struct Delete {
    void operator()(Recorder *recorder) const { recorder->SafeDelete(); }
  };

  std::unique_ptr<Open, Delete> with(const Options &options) {
    return std::unique_ptr<Open, Delete>(new Open(host_.rec(), &host_.rec()->ext_vars, options));
  }
  static void set_rate(Open &recorder, float rate) { recorder.rate_out = rate; }

private:
  Host host_;
};

}  // namespace auspool::testing
