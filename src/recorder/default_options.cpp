#include "recorder/default_options.h"

#include "recorder/recorder_aac.h"
#include "recorder/recorder_alac.h"
#include "recorder/recorder_flac.h"
#include "recorder/recorder_mp3.h"
#include "recorder/recorder_pcm.h"

namespace auspool {

constinit const AuRecOptionsDefault sAuRecOptionsDefault = {
    .pcm = RecorderPCM::DefaultOptions(),
    .mp3 = RecorderMP3::DefaultOptions(),
    .aac = RecorderAAC::DefaultOptions(),
    .alac = RecorderALAC::DefaultOptions(),
    .flac = RecorderFLAC::DefaultOptions(),
};

}  // namespace auspool
