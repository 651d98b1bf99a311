#pragma once

// The thread pool that workers run in: one that another plug-in offers through a class of the host's, else
// the process's own.

namespace trv {

/// The pool of the class WinThreadPoolTRV, or null without such a class. It is looked for once, on the
/// host's thread.
[[nodiscard]] void* GetCurrentThreadPool();

/// The callback environment that selects that pool; null selects the process's own.
[[nodiscard]] void* GetCurrentThreadPoolEnvironment();

}  // namespace trv
