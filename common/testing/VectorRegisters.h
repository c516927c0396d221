#pragma once
// Tests and benchmarks of code that must run well whatever state other code left the vector
// registers in. Everything reports false or does nothing where the processor cannot tell.

namespace kel_testing {

// True when the processor reports which register states are in use (x86-64 with AVX and XGETBV 1).
bool CanReadVectorStateInUse();
// True when the upper halves of ymm0-15 are in use.
bool UpperVectorHalvesInUse();
// Sets the upper half of ymm15 and returns without the clean-up a compiler would add, as code
// elsewhere in a process may.
void UseUpperVectorHalves();

} // namespace kel_testing
