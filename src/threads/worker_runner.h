#pragma once

// The one source of parallel work. Workers come from a pool of the system's, else they are threads of their
// own, else the calling thread does their work. The caller waits by polling and gives the host its time
// meanwhile; workers never call the host.

#include <cstdint>

namespace trv {

/// Does the rows from `first` to `last`, both included; nothing if first is above last. `job` is -1 where the
/// work was not divided. `onMainThread` is always false. Must not call the host.
using JobFunction = void (*)(int64_t first, int64_t last, int64_t job, bool onMainThread, void* data);

/// Divides the rows from 0 to count - 1 among `threads` jobs, at most 32, or one for each processor for 0,
/// runs them and returns when all are done. The last job takes what the division leaves over. A negative
/// number makes one call on the calling thread. Without memory for its records nothing is run. Only for the
/// host's thread.
void RunThreads(int64_t threads, int64_t count, void* data, JobFunction function);

/// Runs work(data) on a worker and returns when it is done; `waiting`, which may be null, is called with the
/// data meanwhile, and once at the end. False, with nothing run, if there is no worker to be had. Only for
/// the host's thread.
bool RunThreaded(void* data, void (*work)(void* data), void (*waiting)(void* data));

/// Names the calling thread for debuggers, unless it is the one that loaded the plug-in. At most 31
/// characters.
void NameWorker(const char* name);

}  // namespace trv
