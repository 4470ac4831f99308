// The nine exports every plug-in has, built on the plug-in's kPlugin description.
// Only Create, Destroy, Get and Open do anything: the plug-ins read metadata and
// leave decoding to the converter's own plug-ins, so the decoding exports fail.
#include "plugin_support.h"

using tessaroven::plugin::GuardedCall;
using tessaroven::plugin::InstanceBase;
using tessaroven::plugin::kPlugin;

TsvInstance Create(TsvCreateBlock*) {
  return GuardedCall<TsvInstance>(nullptr, [] {
    kPlugin.prepare();
    return static_cast<TsvInstance>(new InstanceBase);
  });
}

void Destroy(TsvInstance instance) { delete static_cast<InstanceBase*>(instance); }

int32_t Get(TsvInstance instance, const TsvChar16* itemName, TsvItemRecord* item) {
  if (!instance) return 0;
  return GuardedCall<int32_t>(0, [&] {
    return tessaroven::plugin::AnswerGet(kPlugin.rows, kPlugin.rowCount, kPlugin.propertyElements, itemName, item);
  });
}

int32_t Set(TsvInstance, const TsvChar16*, const TsvItemRecord*) { return 0; }

int32_t Open(TsvInstance instance, TsvOpenRecord* record) {
  auto* self = static_cast<InstanceBase*>(instance);
  if (!self || !record || self->opened) return 0;
  self->opened = true;  // one file per instance, whether or not it could be read
  return GuardedCall<int32_t>(0, [&] { return kPlugin.open(*self, record) ? 1 : 0; });
}

int32_t Close(TsvInstance) { return 0; }

int32_t DecodeBlock(TsvInstance, void*, uint32_t) { return -1; }

int32_t SetPosition(TsvInstance, int64_t) { return 0; }

int32_t DeleteATag(TsvInstance, const TsvChar16*) { return 0; }
