// A whole frame on worker threads, preparation included.
#pragma once

#include "engine/RowEngine.h"
#include "library/WorkerPool.h"

namespace lomix::library {

/// Reports how many rows are drawn. Returns false to leave out the rest.
using Progress = bool (*)(void* user, int rowsDone, int rowCount);

/// Prepares a frame and draws all its rows on the pool. progress: null, or called on the caller's
/// thread after each of its bands of rows and at the end. Returns false where progress did. Throws
/// std::bad_alloc.
bool drawWholeFrame(WorkerPool& pool, engine::Frame frame, const engine::SimdTarget& target,
                    Progress progress = nullptr, void* user = nullptr);

}  // namespace lomix::library
