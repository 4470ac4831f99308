// The nine exports every plug-in has, built on the plug-in's kPlugin description.
// Close, DecodeBlock and SetPosition decode where the plug-in can (its decodeBlock is
// set) and fail otherwise, so the converter falls back on its own decoder; Set and
// DeleteATag fail in every plug-in.
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

void Destroy(TsvInstance instance) {
  auto* self = static_cast<InstanceBase*>(instance);
  if (self && kPlugin.release) kPlugin.release(*self);
  delete self;
}

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

int32_t Close(TsvInstance instance) {
  auto* self = static_cast<InstanceBase*>(instance);
  if (!self || !kPlugin.decodeBlock || self->decodePath.empty() || self->closed) return 0;
  self->closed = true;
  if (kPlugin.release) kPlugin.release(*self);
  return 1;
}

int32_t DecodeBlock(TsvInstance instance, void* buffer, uint32_t capacity) {
  auto* self = static_cast<InstanceBase*>(instance);
  if (!self || !buffer || !kPlugin.decodeBlock || self->decodePath.empty() || self->closed) return -1;
  return GuardedCall<int32_t>(-1, [&] { return kPlugin.decodeBlock(*self, buffer, capacity); });
}

int32_t SetPosition(TsvInstance instance, int64_t positionMs) {
  auto* self = static_cast<InstanceBase*>(instance);
  if (!self || positionMs < 0 || !kPlugin.setPosition || self->decodePath.empty() || self->closed) return 0;
  return GuardedCall<int32_t>(0, [&] { return kPlugin.setPosition(*self, positionMs); });
}

int32_t DeleteATag(TsvInstance, const TsvChar16*) { return 0; }
