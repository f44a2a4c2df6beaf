#include "recorder/output_types.h"

#include <new>

#include "recorder/aurec_record.h"
#include "recorder/recorder_aac.h"
#include "recorder/recorder_alac.h"
#include "recorder/recorder_flac.h"
#include "recorder/recorder_mp3.h"
#include "recorder/recorder_pcm.h"

namespace auspool {
namespace {

template <AuRecPCMKind kKind>
Recorder *make_pcm(aurec &rec) {
  return new (std::nothrow) RecorderPCM(&rec, &rec.ext_vars, rec.pcm_options, kKind);
}

Recorder *make_mp3(aurec &rec) {
  return new (std::nothrow) RecorderMP3(&rec, &rec.ext_vars, rec.mp3_options);
}

Recorder *make_aac(aurec &rec) {
  return new (std::nothrow) RecorderAAC(&rec, &rec.ext_vars, rec.aac_options);
}

Recorder *make_alac(aurec &rec) {
  return new (std::nothrow) RecorderALAC(&rec, &rec.ext_vars, rec.alac_options);
}

Recorder *make_flac(aurec &rec) {
  return new (std::nothrow) RecorderFLAC(&rec, &rec.ext_vars, rec.flac_options);
}

struct Row {
  AuRecOutputType type;
  OutputType output;
};
constexpr Row kRows[] = {
    {AuRecOutputTypeAIFF, {RecorderPCM::is_available, make_pcm<kPCMKindAIFF>}},
    {AuRecOutputTypeMP3, {RecorderMP3::is_available, make_mp3}},
    {AuRecOutputTypeAAC, {RecorderAAC::is_available, make_aac}},
    {AuRecOutputTypeALAC, {RecorderALAC::is_available, make_alac}},
    {AuRecOutputTypeWAVE, {RecorderPCM::is_available, make_pcm<kPCMKindWAVE>}},
    {AuRecOutputTypeFLAC, {RecorderFLAC::is_available, make_flac}},
};

}  // namespace

const OutputType *output_type(AuRecOutputType type) {
  for (const Row &row : kRows) {
    if (row.type == type) return row.output.is_available() ? &row.output : nullptr;
  }
  return nullptr;
}

}  // namespace auspool
