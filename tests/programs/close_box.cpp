#include "close_box.h"

#include <X11/Xlib.h>

namespace vireo::test {

bool PressCloseBox(const std::string& strDisplay, const std::string& strWindow)
{
    Display* pDisplay = XOpenDisplay(strDisplay.c_str());
    if (pDisplay == nullptr)
        return false;
    XEvent event {};
    event.xclient.type = ClientMessage;
    event.xclient.window = std::stoul(strWindow);
    event.xclient.message_type = XInternAtom(pDisplay, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(pDisplay, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(pDisplay, event.xclient.window, False, NoEventMask, &event);
    XCloseDisplay(pDisplay);
    return true;
}

} // namespace vireo::test
