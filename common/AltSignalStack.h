#pragma once
// A signal stack of the calling thread's own. A fatal-signal handler must run somewhere when the
// thread's stack is exhausted, and two threads sharing one alternate stack would overwrite each other
// if both faulted; so every thread the library starts calls this once at its start.
namespace GS_THREAD {

// Gives the calling thread an alternate signal stack unless it has one; freed when the thread ends.
// True when the thread has one afterwards.
bool EnsureAltSignalStack();

} // namespace GS_THREAD
