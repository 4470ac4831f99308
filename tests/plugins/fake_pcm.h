/* The audio the decoding fake plug-ins hand out (FAKE_PCM in fake_plugin.c), so that a
 * host's test can check every sample it got: a quarter second of 44.1 kHz stereo, a
 * fast sawtooth per channel that passes through the whole 16-bit range. */
#ifndef TESSAROVEN_TESTS_FAKE_PCM_H_
#define TESSAROVEN_TESTS_FAKE_PCM_H_

#include <stdint.h>

#define FAKE_PCM_FRAMES 11025

static inline int32_t FakePcmSample(int64_t frame, int channel) {
  return (int32_t)((frame * 37 + channel * 5000) % 65536) - 32768;
}

#endif
