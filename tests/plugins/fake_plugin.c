/* Fake decoder plug-ins for the registry and reader tests. One source, built once per
 * edge case with FAKE_KIND set to one of the kinds below; each build is its own library
 * so that the tests can put exactly the plug-ins they need into a plug-in folder. */
#include <stdlib.h>
#include <string.h>

#include "fake_pcm.h"
#include "tessaroven/decoder_plugin.h"

#define FAKE_ALPHA 1       /* .fka/.fkw; PCM with a wrong block alignment, two tag blocks */
#define FAKE_BETA 2        /* .fka and .fkb, tags say "beta" */
#define FAKE_EIGHT 3       /* .fka but no DeleteATag export */
#define FAKE_NULL_CREATE 4 /* .fka but Create fails */
#define FAKE_OPEN_FAIL 5   /* .fko, Open fails */
#define FAKE_MANY 6        /* 1200 extensions .m0 ... .m1199 */
#define FAKE_IGNORE 7      /* .fki, .fki.IGNORE, .fkj.IGNORE */
#define FAKE_PCM 12        /* .fkp, 16-bit lossless stereo that decodes to a known pattern */
#define FAKE_PCM_BREAKS 13 /* .fkx, as FAKE_PCM, but DecodeBlock fails after one block */

#ifndef FAKE_KIND
#error "FAKE_KIND must be set"
#endif

#define MANY_COUNT 1200

typedef struct Fake {
  int opened;
  int64_t next_frame; /* of the decoding kinds */
  uint8_t tags1[1024];
  uint8_t tags2[1024];
  TsvChar16 many[MANY_COUNT][8];
} Fake;

typedef struct Row {
  const TsvChar16* extension;
  const TsvChar16* description;
} Row;

static const Row kRows[] = {
#if FAKE_KIND == FAKE_ALPHA
    {u".fka", u"Fake audio A"},
    {u".fkw", u"Fake wave"},
#elif FAKE_KIND == FAKE_BETA
    {u".fka", u"Fake audio A (beta)"},
    {u".fkb", u"Fake audio B"},
#elif FAKE_KIND == FAKE_EIGHT || FAKE_KIND == FAKE_NULL_CREATE
    {u".fka", u"Fake audio A (broken)"},
#elif FAKE_KIND == FAKE_OPEN_FAIL
    {u".fko", u"Fake unopenable"},
#elif FAKE_KIND == FAKE_IGNORE
    {u".fki", u"Fake shown"},
    {u".fki.IGNORE", u"Fake hidden"},
    {u".fkj.IGNORE", u"Fake hidden too"},
#elif FAKE_KIND == FAKE_MANY
    {0, 0},
#elif FAKE_KIND == FAKE_PCM
    {u".fkp", u"Fake decodable"},
#elif FAKE_KIND == FAKE_PCM_BREAKS
    {u".fkx", u"Fake breaking decoder"},
#endif
};

static int Equal16(const TsvChar16* a, const TsvChar16* b) {
  while (*a != 0 && *a == *b) ++a, ++b;
  return *a == *b;
}

static size_t Len16(const TsvChar16* s) {
  size_t n = 0;
  while (s[n] != 0) ++n;
  return n;
}

static void Put32(uint8_t* p, int32_t v) {
  uint32_t u = (uint32_t)v;
  p[0] = (uint8_t)u;
  p[1] = (uint8_t)(u >> 8);
  p[2] = (uint8_t)(u >> 16);
  p[3] = (uint8_t)(u >> 24);
}

static size_t PutText(uint8_t* p, const TsvChar16* s) {
  size_t n = Len16(s) + 1, i;
  for (i = 0; i < n; ++i) {
    p[2 * i] = (uint8_t)s[i];
    p[2 * i + 1] = (uint8_t)(s[i] >> 8);
  }
  return 2 * n;
}

/* Appends one entry at block + *pos and returns its size. */
#if defined(__GNUC__)
__attribute__((unused))
#endif
static int32_t
AddEntry(uint8_t* block, int32_t* pos, const TsvChar16* name, const TsvChar16* value, const uint8_t* binary,
         size_t binarySize) {
  uint8_t* p = block + *pos;
  size_t size = 4;
  size += PutText(p + size, name);
  size += PutText(p + size, value);
  if (binarySize > 0) memcpy(p + size, binary, binarySize);
  size += binarySize;
  Put32(p, (int32_t)size);
  *pos += (int32_t)size;
  return (int32_t)size;
}

TsvInstance Create(TsvCreateBlock* block) {
  Fake* fake;
  int i;
  (void)block;
#if FAKE_KIND == FAKE_NULL_CREATE
  return NULL;
#endif
  fake = (Fake*)calloc(1, sizeof(Fake));
  if (fake == NULL) return NULL;
  for (i = 0; i < MANY_COUNT; ++i) {
    /* ".m" followed by the decimal index */
    char digits[8];
    int n = 0, v = i, k;
    do {
      digits[n++] = (char)('0' + v % 10);
      v /= 10;
    } while (v > 0);
    fake->many[i][0] = u'.';
    fake->many[i][1] = u'm';
    for (k = 0; k < n; ++k) fake->many[i][2 + k] = (TsvChar16)digits[n - 1 - k];
  }
  return fake;
}

void Destroy(TsvInstance instance) { free(instance); }

int32_t Get(TsvInstance instance, const TsvChar16* item_name, TsvItemRecord* item) {
  Fake* fake = (Fake*)instance;
  if (fake == NULL || item_name == NULL || item == NULL) return 0;
  if (Equal16(item_name, u"Decodes")) {
#if FAKE_KIND == FAKE_MANY
    (void)kRows;
    if (item->index >= MANY_COUNT) return 0;
    item->text1 = fake->many[item->index];
    item->text2 = u"Many";
    return 1;
#else
    if (item->index >= sizeof(kRows) / sizeof(kRows[0])) return 0;
    item->text1 = kRows[item->index].extension;
    item->text2 = kRows[item->index].description;
    return 1;
#endif
  }
  if (Equal16(item_name, u"Property Elements") && item->index == 0) {
    item->text1 = u"Channels\rSample Rate\rBit Rate";
    return 1;
  }
  return 0;
}

int32_t Set(TsvInstance instance, const TsvChar16* item_name, const TsvItemRecord* item) {
  (void)instance, (void)item_name, (void)item;
  return 0;
}

static void SetFormat(TsvOpenRecord* r, uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits, uint16_t align,
                      uint32_t avg) {
  r->format.format_tag = tag;
  r->format.channels = channels;
  r->format.samples_per_sec = rate;
  r->format.bits_per_sample = bits;
  r->format.block_align = align;
  r->format.avg_bytes_per_sec = avg;
}

int32_t Open(TsvInstance instance, TsvOpenRecord* record) {
  Fake* fake = (Fake*)instance;
  int32_t pos = 4;
  if (fake == NULL || record == NULL || record->path == NULL || record->magic != TSV_OPEN_RECORD_MAGIC) return 0;
  (void)pos;
#if FAKE_KIND == FAKE_OPEN_FAIL
  return 0;
#endif
  SetFormat(record, TSV_FORMAT_TAG_PCM, 2, 44100, 16, 4, 176400);
  record->properties.bit_rate = 1411200;
  record->properties.length_ms = 2500;
  record->properties.compressed_size = 441000;
#if FAKE_KIND == FAKE_ALPHA
  static const uint8_t kPicture[5] = {0x89, 'P', 0, 'N', 0xFF};
  /* Wrong on purpose: the reader must recompute these two for PCM. */
  record->format.block_align = 3;
  record->format.avg_bytes_per_sec = 1000;
  record->format.cb_size = 2;
  record->reserved0[0] = 0xAB;
  record->reserved0[1] = 0xCD;
  Put32(fake->tags1, 4);
  AddEntry(fake->tags1, &pos, u"Plugin", u"alpha", NULL, 0);
  AddEntry(fake->tags1, &pos, u"Artist", u"Alpha Artist", NULL, 0);
  AddEntry(fake->tags1, &pos, u"Track", u"3", NULL, 0);
  AddEntry(fake->tags1, &pos, u"Rating", u"  4 stars", NULL, 0);
  record->tags1 = fake->tags1;
  record->tags1_length = pos;
  pos = 4;
  Put32(fake->tags2, 3);
  AddEntry(fake->tags2, &pos, u"ARTIST", u"Second Artist", NULL, 0);
  AddEntry(fake->tags2, &pos, u"Album", u"Second Album", NULL, 0);
  AddEntry(fake->tags2, &pos, u"Cover", u"front", kPicture, sizeof(kPicture));
  record->tags2 = fake->tags2;
  record->tags2_length = pos;
#elif FAKE_KIND == FAKE_PCM || FAKE_KIND == FAKE_PCM_BREAKS
  record->properties.length_ms = FAKE_PCM_FRAMES * 1000 / 44100;
  Put32(fake->tags1, 4);
  AddEntry(fake->tags1, &pos, u"audio quality", u"CD Lossless", NULL, 0);
  AddEntry(fake->tags1, &pos, u"Title", u"Fake Title", NULL, 0);
  AddEntry(fake->tags1, &pos, u"Album Artist", u"Fake Album Artist", NULL, 0);
  AddEntry(fake->tags1, &pos, u"Year", u"1999", NULL, 0);
  record->tags1 = fake->tags1;
  record->tags1_length = pos;
#else
  Put32(fake->tags1, 1);
  AddEntry(fake->tags1, &pos, u"Plugin",
#if FAKE_KIND == FAKE_BETA
           u"beta",
#else
           u"other",
#endif
           NULL, 0);
  record->tags1 = fake->tags1;
  record->tags1_length = pos;
#endif
  fake->opened = 1;
  return 1;
}

int32_t Close(TsvInstance instance) { return instance != NULL; }

#if FAKE_KIND == FAKE_PCM || FAKE_KIND == FAKE_PCM_BREAKS
/* Stereo float: at most 700 frames a call, so the blocks never line up with the
 * host's own frames. Every value is a 16-bit sample exactly. */
int32_t DecodeBlock(TsvInstance instance, void* buffer, uint32_t capacity) {
  Fake* fake = (Fake*)instance;
  float* out = (float*)buffer;
  int64_t frames = capacity / 8, i;
  if (fake == NULL || !fake->opened || frames == 0) return -1;
#if FAKE_KIND == FAKE_PCM_BREAKS
  if (fake->next_frame > 0) return -1;
#endif
  if (frames > 700) frames = 700;
  if (frames > FAKE_PCM_FRAMES - fake->next_frame) frames = FAKE_PCM_FRAMES - fake->next_frame;
  for (i = 0; i < frames; ++i) {
    out[2 * i] = (float)FakePcmSample(fake->next_frame + i, 0) / 32768.0f;
    out[2 * i + 1] = (float)FakePcmSample(fake->next_frame + i, 1) / 32768.0f;
  }
  fake->next_frame += frames;
  return (int32_t)(frames * 8);
}
#else
int32_t DecodeBlock(TsvInstance instance, void* buffer, uint32_t capacity) {
  (void)instance, (void)buffer, (void)capacity;
  return 0;
}
#endif

int32_t SetPosition(TsvInstance instance, int64_t position_ms) {
  (void)instance, (void)position_ms;
  return 0;
}

#if FAKE_KIND != FAKE_EIGHT
int32_t DeleteATag(TsvInstance instance, const TsvChar16* tag_name) {
  (void)instance, (void)tag_name;
  return 0;
}
#endif
