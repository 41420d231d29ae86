#pragma once

#include "scene/export/chunk_writer.h"
#include "scene/export/quab_writer.h"

// The SOBJ chunk of one object file.
void qbExportSceneObjectWrite(QbChunkWriter& writer, const QbExportSceneObject& sceneObject);
// The top-level group "Surfaces" with what is animated; nothing when no surface has a channel, shader or
// group.
void qbExportSurfaceGroupsWrite(QbChunkWriter& writer, const QbExportScene& scene, size_t frames);
// A group and all below it; `depth` is 1 at the top level.
void qbExportGroupWrite(QbChunkWriter& writer, const QbExportGroup& group, int depth, size_t frames);
