# The libraries of codecs, each behind an option. A codec's folder in platform/ is its adapter; in a build without it
# the files of the same headers in platform/without/ say no.
set(AUSPOOL_CODEC_MODULES "")
function(auspool_codec option folder modules)  # and the files in platform/without/
  if(${option})
    list(JOIN ARGN "|" files)
    list(FILTER sources EXCLUDE REGEX "/platform/without/(${files}).cpp$")
    list(APPEND AUSPOOL_CODEC_MODULES ${modules})
  else()
    list(FILTER sources EXCLUDE REGEX "/platform/${folder}/")
  endif()
  set(sources ${sources} PARENT_SCOPE)
  set(AUSPOOL_CODEC_MODULES ${AUSPOOL_CODEC_MODULES} PARENT_SCOPE)
endfunction()

auspool_codec(AUSPOOL_LAME lame lame mp3_encoder)
auspool_codec(AUSPOOL_FLAC flac flac flac_encoder flac_metadata)
auspool_codec(AUSPOOL_LIBAV libav "libavcodec;libavformat;libavutil;libswscale" audio_codec scale thumbnail)
