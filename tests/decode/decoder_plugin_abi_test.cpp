// The plug-in records are an ABI shared with libraries built by other compilers and in
// C: their bytes must sit where the header says, in both languages.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "tessaroven/decoder_plugin.h"

extern "C" std::size_t TsvLayoutFromC(std::size_t* out, std::size_t capacity);
extern "C" void TsvFillOpenRecordFromC(TsvOpenRecord* record, const std::uint8_t* tags2);

namespace tessaroven {
namespace {

TEST(DecoderPluginAbiTest, CAndCppAgreeOnTheFixedLayout) {
  // Order as in decoder_plugin_abi_c.c.
  const std::vector<std::size_t> expected{24, 56, 0, 24, 32, 18, 32, 128, 0, 8, 12, 52, 56, 64, 80, 88, 92, 100, 2};
  const std::vector<std::size_t> cpp{sizeof(TsvCreateBlock),
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
                                     sizeof(TsvChar16)};
  std::vector<std::size_t> c(64);
  c.resize(TsvLayoutFromC(c.data(), c.size()));
  EXPECT_EQ(cpp, expected);
  EXPECT_EQ(c, expected);
}

template <class T>
T At(const std::uint8_t* bytes, std::size_t offset) {
  T value;
  std::memcpy(&value, bytes + offset, sizeof(T));
  return value;
}

TEST(DecoderPluginAbiTest, FieldsWrittenInCLandAtTheDocumentedBytes) {
  TsvOpenRecord record;
  std::memset(&record, 0, sizeof(record));
  const std::uint8_t tags[1] = {0};
  TsvFillOpenRecordFromC(&record, tags);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
  EXPECT_EQ(At<std::uint16_t>(bytes, 12), 3);       // format tag
  EXPECT_EQ(At<std::uint16_t>(bytes, 14), 6);       // channels
  EXPECT_EQ(At<std::uint32_t>(bytes, 16), 96000u);  // samples per second
  EXPECT_EQ(At<std::uint16_t>(bytes, 26), 32);      // bits per sample
  EXPECT_EQ(At<std::uint32_t>(bytes, 52), 0x01020304u);
  EXPECT_EQ(At<std::int64_t>(bytes, 56), 0x0102030405060708LL);
  EXPECT_EQ(At<std::int64_t>(bytes, 64), -2);
  EXPECT_EQ(At<const std::uint8_t*>(bytes, 92), tags);
  EXPECT_EQ(At<std::int32_t>(bytes, 100), 77);
  // Nothing else was touched.
  EXPECT_EQ(At<std::uint64_t>(bytes, 0), 0u);
  EXPECT_EQ(At<std::uint64_t>(bytes, 80), 0u);
  for (std::size_t i = 104; i < 128; ++i) EXPECT_EQ(bytes[i], 0) << i;
}

}  // namespace
}  // namespace tessaroven
