/* The plug-in header as a C plug-in author sees it: it must compile as C11 and give
 * the same layout as in C++. */
#include <stddef.h>

#include "tessaroven/decoder_plugin.h"

/* Sizes and offsets in a fixed order, read by the C++ test. */
size_t TsvLayoutFromC(size_t* out, size_t capacity) {
  const size_t values[] = {
      sizeof(TsvCreateBlock),
      sizeof(TsvItemRecord),
      offsetof(TsvItemRecord, index),
      offsetof(TsvItemRecord, text1),
      offsetof(TsvItemRecord, text2),
      sizeof(TsvWaveFormatEx),
      sizeof(TsvPropertyBlock),
      sizeof(TsvOpenRecord),
      offsetof(TsvOpenRecord, path),
      offsetof(TsvOpenRecord, magic),
      offsetof(TsvOpenRecord, format),
      offsetof(TsvOpenRecord, properties) + offsetof(TsvPropertyBlock, bit_rate),
      offsetof(TsvOpenRecord, properties) + offsetof(TsvPropertyBlock, length_ms),
      offsetof(TsvOpenRecord, properties) + offsetof(TsvPropertyBlock, compressed_size),
      offsetof(TsvOpenRecord, tags1),
      offsetof(TsvOpenRecord, tags1_length),
      offsetof(TsvOpenRecord, tags2),
      offsetof(TsvOpenRecord, tags2_length),
      sizeof(TsvChar16),
  };
  size_t n = sizeof(values) / sizeof(values[0]);
  size_t i;
  for (i = 0; i < n && i < capacity; ++i) out[i] = values[i];
  return n;
}

/* A C plug-in fills an open record through the typed fields; the C++ side reads the
 * bytes at the fixed offsets. */
void TsvFillOpenRecordFromC(TsvOpenRecord* record, const uint8_t* tags2) {
  record->format.format_tag = 3;
  record->format.channels = 6;
  record->format.samples_per_sec = 96000;
  record->format.bits_per_sample = 32;
  record->properties.bit_rate = 0x01020304u;
  record->properties.length_ms = 0x0102030405060708LL;
  record->properties.compressed_size = -2;
  record->tags2 = tags2;
  record->tags2_length = 77;
}
