// The FFmpeg reader module (ffmpeg/reader.so, or reader.dll, in the plug-in folder),
// shared by both plug-ins: the ffmpeg plug-in reads everything through it, and the
// taglib plug-in falls back on it for files of its extensions whose codec or layout
// TagLib cannot read. Both plug-ins still own only their own extensions.
//
// The module is loaded on first use and stays for the life of the process: FFmpeg's
// libraries cost ~50 ms to load, which the selector should not pay at start-up when
// it loads every plug-in only to learn its extensions.
#pragma once

#include "plugin_support.h"

namespace tessaroven::plugin {

struct FfmpegReadOptions {
  // libavformat's short name of the demuxer to use ("mp4", "wav", "ogg"), or null to
  // let it probe. A caller that knows the container keeps noise and odd files from
  // being taken for some other format.
  const char* demuxer = nullptr;
  // Whether the container's and the stream's tags go into the instance's tag block;
  // off when the caller has already put the file's tags there.
  bool containerTags = true;
};

// The reader module's entry point. Fills the record and adds to instance.tags as the
// ffmpeg plug-in's Open does; false when FFmpeg finds no audio stream it can describe.
using FfmpegOpenIntoFn = bool (*)(InstanceBase& instance, TsvOpenRecord* record, const FfmpegReadOptions& options);

// Reads record->path through the reader module; false also when the module is missing.
bool ReadWithFfmpeg(InstanceBase& instance, TsvOpenRecord* record, const FfmpegReadOptions& options);

// Decoding instance.decodePath through the reader module, with the meaning of the
// DecodeBlock and SetPosition exports; the decoder is made on the first call and kept
// in instance.decoding until ReleaseFfmpegDecoding. Failures when the module is
// missing.
using FfmpegDecodeBlockFn = std::int32_t (*)(InstanceBase& instance, void* buffer, std::uint32_t capacity);
using FfmpegSetPositionFn = std::int32_t (*)(InstanceBase& instance, std::int64_t positionMs);
using FfmpegReleaseFn = void (*)(InstanceBase& instance);
std::int32_t DecodeWithFfmpeg(InstanceBase& instance, void* buffer, std::uint32_t capacity);
std::int32_t SeekWithFfmpeg(InstanceBase& instance, std::int64_t positionMs);
void ReleaseFfmpegDecoding(InstanceBase& instance);

// Platform part: loads the module from "ffmpeg/" beside the module that holds this code
// (null when it cannot), and looks up one of its exports.
void* LoadFfmpegReaderModule();
void* FfmpegReaderExport(void* module, const char* name);

}  // namespace tessaroven::plugin
