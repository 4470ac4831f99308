/*
 * Tessaroven decoder plug-in ABI.
 *
 * A decoder plug-in is a shared library (".so" on Linux, ".dll" on Windows) placed in
 * the "decoder" folder beside the program. It exports nine functions with C linkage,
 * looked up by these exact names: Create, Destroy, Get, Set, Open, Close, DecodeBlock,
 * SetPosition, DeleteATag. A library that lacks any one of them is never used, even for
 * the extensions it declares. The file selector calls only Create, Destroy, Get and Open;
 * the converter also Close, DecodeBlock and SetPosition. Set and DeleteATag are
 * reserved.
 *
 * Writing a plug-in: include this header in the file that defines the exports and define
 * all nine with the signatures below. The declarations here carry C linkage and the export
 * attribute, so a C++ definition that follows them needs no extern "C" of its own. Build
 * with hidden visibility for everything else (-fvisibility=hidden), and on Windows link
 * the compiler's runtime statically so the DLL needs nothing beside it. A host that loads
 * plug-ins defines TESSAROVEN_DECODER_PLUGIN_HOST first and uses only the typedefs.
 *
 * Records are fixed byte for byte (checked by the static assertions at the end) and are
 * little-endian. Text is UTF-16, zero-terminated: char16_t in C++, uint_least16_t in C
 * (the same type <uchar.h> calls char16_t), the same bytes as Windows' wchar_t.
 * Only 64-bit builds are supported; the records hold 8-byte pointers.
 *
 * Ownership and lifetime
 *   - Every record passed in (create block, item record, open record) belongs to the
 *     caller and is valid only during the call; the plug-in copies what it needs.
 *   - Every pointer the plug-in hands back (the texts of an item record, the tag blocks
 *     of an open record) points into memory the plug-in owns. It must stay valid and
 *     unchanged until Destroy is called on that instance. The caller never frees it.
 *
 * Threads
 *   - An instance (the handle Create returns) is used by one thread at a time; the
 *     caller never calls into one instance from two threads at once.
 *   - Different instances of the same library may be used on different threads at the
 *     same moment, so a plug-in must not keep per-file state in globals. The converter
 *     decodes as many files at once as there are cores, each instance on one worker
 *     thread from Create to Destroy.
 *
 * Decoded PCM (DecodeBlock)
 *   - Interleaved 32-bit IEEE float, little-endian, whatever the source's own format
 *     or the open record's format tag and bits say: one sample frame is channels * 4
 *     bytes. Full scale is -1.0 to 1.0; louder samples are passed on, not clipped.
 *     A float holds every 16- and 24-bit sample exactly, so nothing the converter
 *     keeps is lost, and a host needs no case per source format.
 *   - As many channels as the open record's format says, in the order in which
 *     WAVEFORMATEXTENSIBLE numbers the speakers (front left, front right, front
 *     centre, LFE, back left, back right, ...).
 *   - At the record's samples_per_sec, except for DSD (bits_per_sample 1), whose PCM
 *     comes at an eighth of the 1-bit rate (DSD64: 352800 Hz).
 *
 * Calling order as the converter uses it:
 *   - per file, on one worker thread: Create(zeroed block) -> Open(record) -> DecodeBlock
 *     ... until it returns 0, with SetPosition between blocks if the converter needs
 *     another starting point -> Close -> Destroy. Destroy alone must also do, at any
 *     point (a cancelled conversion). An instance opens one file in its life: Close
 *     does not make room for another Open.
 *   - A plug-in that reads tags only answers the first DecodeBlock with a negative
 *     value; the converter then decodes the file by other means. The taglib plug-in
 *     does so.
 *   - Set and DeleteATag are reserved for writing tags. No host calls them today and
 *     every plug-in may return 0 from them.
 *
 * Calling order as the file selector uses it:
 *   - listing types: Create -> Get("Decodes", 0, 1, ...) -> Destroy, library unloaded.
 *   - per file: Create(zeroed block) -> [Get("Decodes", ...) when the library is being
 *     chosen, on this same instance] -> Open(record) at most once -> the selector copies
 *     the format, properties and tags -> Destroy. Close is never called by the
 *     selector: Destroy ends the instance whatever state it is in. The library stays
 *     loaded between files of the same type, so Create/Destroy come many times.
 */
#ifndef TESSAROVEN_DECODER_PLUGIN_H_
#define TESSAROVEN_DECODER_PLUGIN_H_

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
typedef char16_t TsvChar16;
#define TSV_EXTERN_C extern "C"
#define TSV_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
typedef uint_least16_t TsvChar16;
#define TSV_EXTERN_C
#define TSV_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

#if defined(_WIN32)
#define TSV_PLUGIN_EXPORT TSV_EXTERN_C __declspec(dllexport)
#else
#define TSV_PLUGIN_EXPORT TSV_EXTERN_C __attribute__((visibility("default")))
#endif

TSV_STATIC_ASSERT(sizeof(void*) == 8, "decoder plug-ins are 64-bit only");
TSV_STATIC_ASSERT(sizeof(TsvChar16) == 2, "plug-in text is UTF-16");

/* Value the caller always stores at offset 8 of the open record. */
#define TSV_OPEN_RECORD_MAGIC 28u

/* WAVEFORMATEX format tags that the selector treats specially. */
#define TSV_FORMAT_TAG_PCM 1u
#define TSV_FORMAT_TAG_IEEE_FLOAT 3u

/* Item names the selector asks Get for. */
/*   "Decodes", indexed 0, 1, 2, ...: text1 = one extension with its dot (".flac"),
 *   text2 = a description of the format ("FLAC audio"). The list ends at the first index
 *   for which Get returns 0 or either text is null. An extension text that contains
 *   ".IGNORE" (case-sensitive) is a row the plug-in decodes but does not want offered in
 *   the selector's type lists (for example ".xyz.IGNORE"). */
/*   "Property Elements", index 0: text1 = the names of the property elements this
 *   plug-in can report, separated by a carriage return (U+000D), e.g.
 *   u"Channels\rSample Rate\rBit Rate". */

/* Opaque instance handle; null means failure. */
typedef void* TsvInstance;

/* Create block, 24 bytes, zero-filled by the caller. Its content is reserved: a plug-in
 * must accept an all-zero block and must not write to it. */
typedef struct TsvCreateBlock {
  uint8_t reserved[24];
} TsvCreateBlock;

/* Item record for Get and Set, 56 bytes, zero-filled by the caller before each call. */
typedef struct TsvItemRecord {
  uint32_t index;           /* 0: set by the caller (0, 1, 2, ... for indexed items) */
  uint8_t reserved0[20];    /* 4: unused by the selector */
  const TsvChar16* text1;   /* 24: first text, owned by the plug-in */
  const TsvChar16* text2;   /* 32: second text, owned by the plug-in */
  uint8_t reserved1[16];    /* 40: unused by the selector */
} TsvItemRecord;

#if defined(_MSC_VER)
#pragma pack(push, 1)
#define TSV_PACKED
#else
#define TSV_PACKED __attribute__((packed))
#endif

/* Windows' WAVEFORMATEX, 18 bytes, byte-packed. Extra format bytes (cb_size of them), if
 * any, follow it inside the open record (offset 30 on; 14 bytes fit before the property
 * block, and the caller never reads past the record's 128 bytes). For
 * PCM (tag 1) and float (tag 3) the caller recomputes block_align and avg_bytes_per_sec
 * from channels, bits and rate, so sloppy values there do no harm. */
typedef struct TSV_PACKED TsvWaveFormatEx {
  uint16_t format_tag;
  uint16_t channels;
  uint32_t samples_per_sec;
  uint32_t avg_bytes_per_sec;
  uint16_t block_align;
  uint16_t bits_per_sample;
  uint16_t cb_size; /* number of extra format bytes after this record */
} TsvWaveFormatEx;

/* Property block, 32 bytes at offset 44 of the open record; the selector copies it
 * whole. Offsets in the comments are relative to the open record. */
typedef struct TSV_PACKED TsvPropertyBlock {
  uint8_t reserved0[8];     /* 44 */
  uint32_t bit_rate;        /* 52: bits per second */
  int64_t length_ms;        /* 56: playing time in milliseconds */
  int64_t compressed_size;  /* 64: bytes of compressed audio in the file */
  uint8_t reserved1[4];     /* 72 */
} TsvPropertyBlock;

/* Open record, 128 bytes, byte-packed. The caller sets path and magic and zero-fills
 * everything from offset 12 on; the plug-in fills the rest during Open.
 *
 * Tag block layout (little-endian), pointed to by tags1/tags2:
 *   int32  count            number of entries that follow (> 0)
 *   then per entry:
 *   int32  size             bytes of the entry INCLUDING these 4 bytes
 *   UTF-16 name, zero-terminated
 *   UTF-16 value, zero-terminated
 *   bytes  binary data      the rest of the entry, may be empty (e.g. a picture)
 * The next entry begins size bytes after the start of the current one. The reader stops
 * at the first entry whose size is negative or that would end past the block's length,
 * and keeps the entries before it.
 *
 * A size below 4 counts as a bad entry too. An odd trailing byte of a text is ignored.
 *
 * Two tag lists: the selector reads tags1, then tags2, and merges them: a name present in
 * tags1 (names compare with an ASCII-only case fold) keeps tags1's value(s); entries of
 * tags2 whose names tags1 lacks are appended in their order. "DSD Type" is looked up
 * before the merge, so it must be in tags1. Tags the selector reads: "DSD Type" (e.g.
 * "DSD64", "DSD256"; empty or absent for PCM files), "audio quality" (containing
 * "lossless" or "perfect" marks a lossless file), "Rating", "Album Artist", "Artist",
 * "Album", "Track", "Disc", "Compilation", "AccurateRipResult". Tags it writes itself
 * (a plug-in's own value is replaced): "Length", "Channels", "Sample Rate", "Sample
 * Size", "Bit Rate", "Compression". */
typedef struct TSV_PACKED TsvOpenRecord {
  const TsvChar16* path;          /* 0: full path of the file, owned by the caller */
  uint32_t magic;                 /* 8: TSV_OPEN_RECORD_MAGIC */
  TsvWaveFormatEx format;         /* 12: audio format */
  uint8_t reserved0[14];          /* 30 */
  TsvPropertyBlock properties;    /* 44 */
  uint8_t reserved1[4];           /* 76 */
  const uint8_t* tags1;           /* 80: first tag block, owned by the plug-in */
  int32_t tags1_length;           /* 88: its length in bytes */
  const uint8_t* tags2;           /* 92: second tag block (unaligned field) */
  int32_t tags2_length;           /* 100 */
  uint8_t reserved2[24];          /* 104 */
} TsvOpenRecord;

#if defined(_MSC_VER)
#pragma pack(pop)
#endif

/* --- The nine exports. Return values of 32 bits: non-zero means success. --- */

/* Makes a new instance. block: zeroed, valid for the call only. Null on failure. */
typedef TsvInstance (*TsvCreateFn)(TsvCreateBlock* block);
/* Ends an instance (closing its file if one is open) and frees every block and text it
 * handed out. Must accept a null handle. */
typedef void (*TsvDestroyFn)(TsvInstance instance);
/* Fills item (texts only; index already set) for the named item. 0 when there is no
 * such item or index. */
typedef int32_t (*TsvGetFn)(TsvInstance instance, const TsvChar16* item_name,
                            TsvItemRecord* item);
/* Reserved: would set the named item (a tag to write, an option) from item. Hosts do
 * not call it yet; a plug-in may return 0. */
typedef int32_t (*TsvSetFn)(TsvInstance instance, const TsvChar16* item_name,
                            const TsvItemRecord* item);
/* Opens record->path and fills the record. One file per instance. 0 on failure; then
 * the record's output fields are not read. */
typedef int32_t (*TsvOpenFn)(TsvInstance instance, TsvOpenRecord* record);
/* Converter only: closes the open file and frees what decoding it took; the instance
 * stays alive and the blocks Open handed out stay valid until Destroy. 0 when no file
 * was open, and always from a plug-in that does not decode. DecodeBlock and
 * SetPosition fail after it. */
typedef int32_t (*TsvCloseFn)(TsvInstance instance);
/* Converter only: writes the next samples of the file opened by a successful Open into
 * buffer, which the caller owns (capacity bytes; no alignment beyond a byte). The
 * layout is "Decoded PCM" above; only whole sample frames are written, at least one
 * per call until the end. Returns the bytes written, which may be fewer than capacity
 * without meaning the end; 0 at the end of the audio (and on every call after it);
 * negative on error, when nothing is open, when capacity holds no whole frame, and
 * always from a plug-in that does not decode. */
typedef int32_t (*TsvDecodeBlockFn)(TsvInstance instance, void* buffer, uint32_t capacity);
/* Converter only: the next DecodeBlock starts position_ms milliseconds from the start
 * of the audio: at that very sample where the file's timestamps allow, otherwise at
 * the nearest point the file can start from before it. A position at or past the end
 * leaves the instance at its end. 0 when nothing is open, position_ms is negative or
 * the file cannot move there (DecodeBlock then carries on from where it was, or fails
 * if the file cannot), and always from a plug-in that does not decode. */
typedef int32_t (*TsvSetPositionFn)(TsvInstance instance, int64_t position_ms);
/* Reserved: would remove the named tag from the open file. Hosts do not call it yet;
 * a plug-in may return 0. */
typedef int32_t (*TsvDeleteATagFn)(TsvInstance instance, const TsvChar16* tag_name);

/* The host defines TESSAROVEN_DECODER_PLUGIN_HOST so that these short global names are
 * not declared in its own code; it reaches the exports only through the typedefs. */
#ifndef TESSAROVEN_DECODER_PLUGIN_HOST
TSV_PLUGIN_EXPORT TsvInstance Create(TsvCreateBlock* block);
TSV_PLUGIN_EXPORT void Destroy(TsvInstance instance);
TSV_PLUGIN_EXPORT int32_t Get(TsvInstance instance, const TsvChar16* item_name,
                              TsvItemRecord* item);
TSV_PLUGIN_EXPORT int32_t Set(TsvInstance instance, const TsvChar16* item_name,
                              const TsvItemRecord* item);
TSV_PLUGIN_EXPORT int32_t Open(TsvInstance instance, TsvOpenRecord* record);
TSV_PLUGIN_EXPORT int32_t Close(TsvInstance instance);
TSV_PLUGIN_EXPORT int32_t DecodeBlock(TsvInstance instance, void* buffer, uint32_t capacity);
TSV_PLUGIN_EXPORT int32_t SetPosition(TsvInstance instance, int64_t position_ms);
TSV_PLUGIN_EXPORT int32_t DeleteATag(TsvInstance instance, const TsvChar16* tag_name);
#endif

/* --- Layout checks: these sizes and offsets are the ABI. --- */
TSV_STATIC_ASSERT(sizeof(TsvCreateBlock) == 24, "create block size");
TSV_STATIC_ASSERT(sizeof(TsvItemRecord) == 56, "item record size");
TSV_STATIC_ASSERT(offsetof(TsvItemRecord, index) == 0, "item index");
TSV_STATIC_ASSERT(offsetof(TsvItemRecord, text1) == 24, "item text1");
TSV_STATIC_ASSERT(offsetof(TsvItemRecord, text2) == 32, "item text2");
TSV_STATIC_ASSERT(sizeof(TsvWaveFormatEx) == 18, "WAVEFORMATEX size");
TSV_STATIC_ASSERT(offsetof(TsvWaveFormatEx, samples_per_sec) == 4, "format rate");
TSV_STATIC_ASSERT(offsetof(TsvWaveFormatEx, avg_bytes_per_sec) == 8, "format avg bytes");
TSV_STATIC_ASSERT(offsetof(TsvWaveFormatEx, block_align) == 12, "format block align");
TSV_STATIC_ASSERT(offsetof(TsvWaveFormatEx, bits_per_sample) == 14, "format bits");
TSV_STATIC_ASSERT(offsetof(TsvWaveFormatEx, cb_size) == 16, "format extra size");
TSV_STATIC_ASSERT(sizeof(TsvPropertyBlock) == 32, "property block size");
TSV_STATIC_ASSERT(sizeof(TsvOpenRecord) == 128, "open record size");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, path) == 0, "open path");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, magic) == 8, "open magic");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, format) == 12, "open format");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, properties) == 44, "open properties");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, properties) + offsetof(TsvPropertyBlock, bit_rate) ==
                      52, "open bit rate");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, properties) + offsetof(TsvPropertyBlock, length_ms) ==
                      56, "open length");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, properties) +
                          offsetof(TsvPropertyBlock, compressed_size) == 64,
                  "open compressed size");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, tags1) == 80, "open tags1");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, tags1_length) == 88, "open tags1 length");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, tags2) == 92, "open tags2");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, tags2_length) == 100, "open tags2 length");
TSV_STATIC_ASSERT(offsetof(TsvOpenRecord, reserved2) == 104, "open tail");

#endif /* TESSAROVEN_DECODER_PLUGIN_H_ */
