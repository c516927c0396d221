// Guards the thread-sanitizer pass against false reports from Qt's event posting, which it cannot see
// synchronised (Qt's mutex is a futex of its own); posting from a worker is thread-safe by Qt's contract.
// Every report that passes through CBaseWnd::PostMessage is inside Qt's post list: that function
// touches nothing else but the window set under a standard mutex, which the sanitizer does see.
#if defined(__SANITIZE_THREAD__)
extern "C" const char* __tsan_default_suppressions() {
    return "race:KELCTRL::CBaseWnd::PostMessage\n";
}
#endif
