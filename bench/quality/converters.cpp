#include "quality/converters.h"

#include <samplerate.h>
#include <soxr.h>
#include <speex/speex_resampler.h>
#include <zita-resampler/resampler.h>

#include <algorithm>
#include <cmath>

#include "auspool/raesampler.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace quality {

void Block::fill(std::span<const float> signal) {
  for (std::size_t i = 0; i < kFrames; ++i) {
    const float sample = i < signal.size() ? signal[i] : 0.0f;
    planar[i] = planar[kFrames + i] = interleaved[2 * i] = interleaved[2 * i + 1] = sample;
  }
}

namespace {

template <typename T>
using Handle = std::unique_ptr<T, void (*)(T *)>;

class Auspool : public Converter {
public:
  explicit Auspool(raesampler *r) : Converter(1), r_(r, raesampler_destroy) {}

  int convert(const Block &block) override {
    const float *const from[] = {block.planar.data(), block.planar.data() + kFrames};
    float *const to[] = {channel(0), channel(1)};
    int count = kFrames;
    return raesampler_resample(r_.get(), from, 1, to, 1, &count, 0);
  }

  static std::unique_ptr<Converter> make(const Rates &rates, int quality) {
    return make_with_latency(rates, quality, 0);
  }

  static std::unique_ptr<Converter> make_with_latency(const Rates &rates, int flags, int microseconds) {
    raesampler *r = raesampler_create(flags, kChannels, nullptr, microseconds, rates.in, rates.out, 0);
    return r ? std::make_unique<Auspool>(r) : nullptr;
  }

private:
  Handle<raesampler> r_;
};

class Soxr : public Converter {
public:
  explicit Soxr(soxr_t soxr) : Converter(2), soxr_(soxr) {}
  ~Soxr() override { soxr_delete(soxr_); }

  int convert(const Block &block) override {
    std::size_t used = 0, made = 0;
    soxr_process(soxr_, block.interleaved.data(), kFrames, &used, channel(0), kRoom, &made);
    return static_cast<int>(made);
  }

  static std::unique_ptr<Converter> make(const Rates &rates, unsigned long recipe) {
    const soxr_quality_spec_t quality = soxr_quality_spec(recipe, 0);
    soxr_t soxr = soxr_create(rates.in, rates.out, kChannels, nullptr, nullptr, &quality, nullptr);
    return soxr ? std::make_unique<Soxr>(soxr) : nullptr;
  }

private:
  soxr_t soxr_;
};

class Swresample : public Converter {
public:
  explicit Swresample(SwrContext *swr) : Converter(1), swr_(swr) {}
  ~Swresample() override { swr_free(&swr_); }

  int convert(const Block &block) override {
    const std::uint8_t *from[] = {reinterpret_cast<const std::uint8_t *>(block.planar.data()),
                                  reinterpret_cast<const std::uint8_t *>(block.planar.data() + kFrames)};
    std::uint8_t *to[] = {reinterpret_cast<std::uint8_t *>(channel(0)), reinterpret_cast<std::uint8_t *>(channel(1))};
    return swr_convert(swr_, to, kRoom, from, kFrames);
  }

  static std::unique_ptr<Converter> make(const Rates &rates, int taps) {
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    SwrContext *swr = nullptr;
    swr_alloc_set_opts2(&swr, &stereo, AV_SAMPLE_FMT_FLTP, static_cast<int>(rates.out), &stereo, AV_SAMPLE_FMT_FLTP,
                        static_cast<int>(rates.in), 0, nullptr);
    av_opt_set_int(swr, "filter_size", taps, 0);
    av_opt_set_int(swr, "exact_rational", 1, 0);
    auto made = std::make_unique<Swresample>(swr);
    return swr_init(swr) < 0 ? nullptr : std::move(made);
  }

private:
  SwrContext *swr_;
};

class Zita : public Converter {
public:
  Zita() : Converter(2) {}

  int convert(const Block &block) override {
    zita_.inp_count = kFrames;
    zita_.inp_data = const_cast<float *>(block.interleaved.data());
    zita_.out_count = kRoom;
    zita_.out_data = channel(0);
    zita_.process();
    return kRoom - static_cast<int>(zita_.out_count);
  }

  static std::unique_ptr<Converter> make(const Rates &rates, unsigned half_length) {
    auto made = std::make_unique<Zita>();
    const int failed =
        made->zita_.setup(static_cast<unsigned>(rates.in), static_cast<unsigned>(rates.out), kChannels, half_length);
    return failed ? nullptr : std::move(made);
  }

private:
  Resampler zita_;
};

class Speex : public Converter {
public:
  explicit Speex(SpeexResamplerState *speex) : Converter(2), speex_(speex, speex_resampler_destroy) {}

  int convert(const Block &block) override {
    spx_uint32_t read = kFrames, written = kRoom;
    speex_resampler_process_interleaved_float(speex_.get(), block.interleaved.data(), &read, channel(0), &written);
    return static_cast<int>(written);
  }

  static std::unique_ptr<Converter> make(const Rates &rates, int quality) {
    int error = 0;
    return std::make_unique<Speex>(speex_resampler_init(kChannels, static_cast<spx_uint32_t>(rates.in),
                                                        static_cast<spx_uint32_t>(rates.out), quality, &error));
  }

private:
  Handle<SpeexResamplerState> speex_;
};

class Samplerate : public Converter {
public:
  Samplerate(SRC_STATE *state, double ratio) : Converter(2), state_(state), ratio_(ratio) {}
  ~Samplerate() override { src_delete(state_); }

  int convert(const Block &block) override {
    SRC_DATA data = {};
    data.data_in = block.interleaved.data();
    data.data_out = channel(0);
    data.input_frames = kFrames;
    data.output_frames = kRoom;
    data.src_ratio = ratio_;
    src_process(state_, &data);
    return static_cast<int>(data.output_frames_gen);
  }

  static std::unique_ptr<Converter> make(const Rates &rates, int converter) {
    int error = 0;
    return std::make_unique<Samplerate>(src_new(converter, kChannels, &error), rates.out / rates.in);
  }

private:
  SRC_STATE *state_;
  double ratio_;
};

template <class C, typename Setting>
Kind kind(const char *name, Setting setting) {
  return {name, [setting](const Rates &rates) { return C::make(rates, setting); }};
}

}  // namespace

Kind low_latency_kind(int quality, int microseconds) {
  return {"low latency", [=](const Rates &rates) {
            return Auspool::make_with_latency(rates, quality | RAESAMPLER_FLAG_LOW_LATENCY, microseconds);
          }};
}

std::vector<Kind> all_kinds() {
  return {kind<Auspool>("auspool RealTime", 0),
          kind<Auspool>("auspool Normal", 1),
          kind<Auspool>("auspool High", 2),
          kind<Auspool>("auspool VeryHigh", 3),
          kind<Auspool>("auspool UltraHigh", 4),
          kind<Soxr>("soxr low", SOXR_LQ),
          kind<Soxr>("soxr medium", SOXR_MQ),
          kind<Soxr>("soxr high", SOXR_HQ),
          kind<Soxr>("soxr very high", SOXR_VHQ),
          kind<Swresample>("libswresample 32 taps", 32),
          kind<Swresample>("libswresample 128 taps", 128),
          kind<Zita>("zita-resampler 48", 48u),
          kind<Zita>("zita-resampler 96", 96u),
          kind<Speex>("speexdsp 3", 3),
          kind<Speex>("speexdsp 10", 10),
          kind<Samplerate>("libsamplerate fastest", SRC_SINC_FASTEST),
          kind<Samplerate>("libsamplerate best", SRC_SINC_BEST_QUALITY)};
}

}  // namespace quality
