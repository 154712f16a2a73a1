// A whole frame on worker threads, preparation included.
#pragma once

#include <functional>

#include "engine/RowEngine.h"
#include "library/WorkerPool.h"

namespace lomix::library {

/// Reports how many rows are drawn. Returns false to leave out the rest.
using Progress = bool (*)(void* user, int rowsDone, int rowCount);

/// Draws rows first ... last - 1 of a prepared frame, on any thread. May throw std::bad_alloc.
using DrawRows = std::function<void(const engine::RowEngine& rows, int first, int last)>;

/// Prepares a frame and draws all its rows on the pool. progress: null, or called on the caller's
/// thread after each of its bands of rows and at the end. Returns false where progress did.
/// drawRows: empty for RowEngine::drawRows(). Throws std::bad_alloc.
bool drawWholeFrame(WorkerPool& pool, engine::Frame frame, const engine::SimdTarget& target,
                    Progress progress = nullptr, void* user = nullptr,
                    const DrawRows& drawRows = {});

}  // namespace lomix::library
