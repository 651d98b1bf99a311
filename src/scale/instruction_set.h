#pragma once

// Which form of the row kernels runs: chosen once by what processor and operating system have.
//
// The environment variable TRV_INSTRUCTION_SET forces one by name, for tests and measurements: "plain" (no
// kernels, every sample computed the exact way), "baseline", "avx2" or "avx512". A name that does not exist
// or that this machine cannot run leaves the choice as it is, with a diagnostic.

#include <string_view>

#include "scale/row_kernels.h"

namespace trv {

/// The kernels in use; null for the plain form.
[[nodiscard]] const RowKernels* ActiveRowKernels();

/// Forces a form by name, or the best one by an empty name, for the whole process; false, with nothing
/// changed, for a name that does not exist or that this machine cannot run.
bool ForceRowKernels(std::string_view name);

/// Name of the form in use.
[[nodiscard]] const char* ActiveInstructionSet();

}  // namespace trv
