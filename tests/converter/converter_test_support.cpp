#include "converter_test_support.h"

#include <cctype>

#include "base/text.h"

namespace kovantrix::test {

std::u16string DataFile(std::u16string_view name) {
  return tessaroven::Utf8ToUtf16(TESSAROVEN_TEST_DATA_DIR "/") + std::u16string(name);
}

std::u16string CoverFile(std::u16string_view name) {
  return tessaroven::Utf8ToUtf16(KOVANTRIX_TEST_DATA_DIR "/") + std::u16string(name);
}

std::string Decoded::Tag(const std::string& name) const {
  for (const auto& [key, value] : info.tags) {
    if (key.size() != name.size()) continue;
    bool same = true;
    for (std::size_t i = 0; i < key.size(); ++i)
      same = same && std::tolower(static_cast<unsigned char>(key[i])) == std::tolower(static_cast<unsigned char>(name[i]));
    if (same) return value;
  }
  return {};
}

Decoded DecodeWhole(const std::u16string& path) {
  Decoded decoded;
  auto decoder = OpenAudioDecoder(path, decoded.error);
  if (!decoder) return decoded;
  decoded.opened = true;
  decoded.info = decoder->Info();
  AVFrame* frame = av_frame_alloc();
  while (decoder->ReadFrame(frame, decoded.error) == AudioDecoder::Read::kFrame) {
    decoded.samples += frame->nb_samples;
    av_frame_unref(frame);
  }
  av_frame_free(&frame);
  return decoded;
}

}  // namespace kovantrix::test
