#pragma once

#include "scene/format/scene.h"

// Channel binding helpers and evaluation. Times are milliseconds from the scene's start; sample 0 plays at 0.

// By exact name, the first in file order; null or offset 0 when there is none. Null arguments give the same.
const QbChannelGroup* qbFindGroup(const QbScene* scene, const char* name);
const QbChannelGroup* qbFindChildGroup(const QbChannelGroup* group, const char* name);
uint32_t qbFindChannel(const QbChannelGroup* group, const char* name);

// The two samples around a time and the share of the second, 0 to below 1. Times outside the scene hold the
// first or the last sample.
void qbChannelSampleTime(const QbScene* scene, float time, int32_t* first, int32_t* second, float* blend);

// One sample by number; 0.0 for an unbound channel or past the last sample. Same values as
// dumpquab_ext_vals_get_value, in constant time while numbers move forward through the channel's chunks.
float qbChannelSample(const QbScene* scene, const QbChannelRef* channel, int32_t index);

// The two samples that qbChannelSampleTime named, as two calls of qbChannelSample would give them. Sequential
// play stays in constant time also when many frames fall between two samples.
void qbChannelSamplePair(const QbScene* scene, const QbChannelRef* channel, int32_t first, int32_t second,
                         float* firstValue, float* secondValue);

// The channel at a time, linearly interpolated. 0.0 for an unbound channel.
float qbChannelValue(const QbScene* scene, const QbChannelRef* channel, float time);
// Three channels at one time, each on its own; returns `out`, three floats.
float* qbChannelVector(float* out, const QbScene* scene, const QbChannelRef* channels, float time);

// Toward zero; what does not fit is limited to the type's range, and NaN gives 0.
int32_t qbTruncate(float value);

// A surface parameter: its channel if bound, else its constant.
float qbParamFloat(const QbScene* scene, const QbSurfaceParam* param, float time);
int32_t qbParamInt(const QbScene* scene, const QbSurfaceParam* param, float time);
float* qbParamVector(float* out, const QbScene* scene, const QbSurfaceParam* param, float time);
