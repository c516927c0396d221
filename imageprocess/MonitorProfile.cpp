// Reads the screen's ICC profile from the X11 root window, where colour managers publish it.
#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <vector>

namespace ImageProcess::detail {

std::vector<unsigned char> ReadMonitorProperty(const char* display) {
    std::vector<unsigned char> bytes;
    Display* dpy = XOpenDisplay(display);
    if (!dpy)
        return bytes;
    const Atom atom = XInternAtom(dpy, "_ICC_PROFILE", True);
    if (atom != None) {
        Atom type = None;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char* data = nullptr;
        // The length is in 32-bit units: 16 MiB is far above any real profile.
        if (XGetWindowProperty(dpy, DefaultRootWindow(dpy), atom, 0, 4L << 20, False, AnyPropertyType, &type,
                               &format, &count, &after, &data) == Success &&
            data && format == 8 && count > 0)
            bytes.assign(data, data + count);
        if (data)
            XFree(data);
    }
    XCloseDisplay(dpy);
    return bytes;
}

} // namespace ImageProcess::detail
