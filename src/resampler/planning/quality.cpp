#include <auspool/filter_design.h>
#include <auspool/raesampler_planning.h>

const quality_parameters quality_parameters_map[5] = {
    {1e-3, 1e-3, 0.85, AU_WINDOW_KAISER, 63},      // RaesamplerQualityRealTime, 60 dB
    {1e-5, 1e-5, 0.925, AU_WINDOW_KAISER, 63},     // RaesamplerQualityNormal, 100 dB
    {1e-8, 1e-8, 0.98, AU_WINDOW_KAISER, 127},     // RaesamplerQualityHigh, 160 dB
    {1e-9, 1e-9, 0.99, AU_WINDOW_KAISER, 255},     // RaesamplerQualityVeryHigh, 180 dB
    {1e-10, 1e-10, 0.995, AU_WINDOW_KAISER, 255},  // RaesamplerQualityUltraHigh, 200 dB
};
