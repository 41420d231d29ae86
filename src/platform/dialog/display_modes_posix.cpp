#include "platform/dialog/dialog.h"

#include "platform/dialog/session_posix.h"

#include <FL/x.H>
#include <X11/extensions/Xrandr.h>
#include <cmath>
#include <memory>

namespace {

template <auto release>
struct Release {
    template <typename T>
    void operator()(T* item) const {
        release(item);
    }
};
using Resources = std::unique_ptr<XRRScreenResources, Release<XRRFreeScreenResources>>;
using Output = std::unique_ptr<XRROutputInfo, Release<XRRFreeOutputInfo>>;
using Crtc = std::unique_ptr<XRRCrtcInfo, Release<XRRFreeCrtcInfo>>;

// What the X server knows of the primary display; without RandR all three are null.
struct Primary {
    Resources resources;
    Output output;
    Crtc crtc;
};

} // namespace

static Output lightedOutput(XRRScreenResources* resources, RROutput id) {
    Output output(XRRGetOutputInfo(fl_display, resources, id));
    return output && output->crtc != None ? std::move(output) : nullptr;
}

// The output that the user named as primary; where none is named, the first that shows something.
static Primary findPrimary() {
    int event = 0;
    int error = 0;
    int major = 0;
    int minor = 0;
    if (!XRRQueryExtension(fl_display, &event, &error) || !XRRQueryVersion(fl_display, &major, &minor))
        return {};
    if (major < 1 || (major == 1 && minor < 3)) return {};
    const Window root = RootWindow(fl_display, fl_screen);
    Primary primary;
    primary.resources.reset(XRRGetScreenResourcesCurrent(fl_display, root));
    if (!primary.resources) return {};
    if (const RROutput id = XRRGetOutputPrimary(fl_display, root); id != None)
        primary.output = lightedOutput(primary.resources.get(), id);
    for (int i = 0; i < primary.resources->noutput && !primary.output; ++i)
        primary.output = lightedOutput(primary.resources.get(), primary.resources->outputs[i]);
    if (!primary.output) return {};
    primary.crtc.reset(XRRGetCrtcInfo(fl_display, primary.resources.get(), primary.output->crtc));
    if (!primary.crtc) return {};
    return primary;
}

// The bits that a pixel takes, as users know them: a depth of 24 is stored in 32.
static int pixelBits() {
    const int depth = DefaultDepth(fl_display, fl_screen);
    int count = 0;
    XPixmapFormatValues* formats = XListPixmapFormats(fl_display, &count);
    int bits = depth;
    for (int i = 0; i < count; ++i) {
        if (formats[i].depth == depth) bits = formats[i].bits_per_pixel;
    }
    if (formats) XFree(formats);
    return bits;
}

static int refreshRate(const XRRModeInfo& mode) {
    const double lines = mode.vTotal * ((mode.modeFlags & RR_DoubleScan) != 0 ? 2.0 : 1.0) /
                         ((mode.modeFlags & RR_Interlace) != 0 ? 2.0 : 1.0);
    const double dots = mode.hTotal * lines;
    return dots > 0 ? static_cast<int>(std::lround(static_cast<double>(mode.dotClock) / dots)) : 0;
}

static QbDisplayMode displayMode(const XRRScreenResources& resources, RRMode id, int bits) {
    for (int i = 0; i < resources.nmode; ++i) {
        const XRRModeInfo& mode = resources.modes[i];
        if (mode.id == id)
            return {static_cast<int>(mode.width), static_cast<int>(mode.height), bits, refreshRate(mode)};
    }
    return {};
}

QbArea qbDialogPrimaryArea() {
    const Primary primary = findPrimary();
    if (!primary.crtc)
        return {0, 0, DisplayWidth(fl_display, fl_screen), DisplayHeight(fl_display, fl_screen)};
    return {primary.crtc->x, primary.crtc->y, static_cast<int>(primary.crtc->width),
            static_cast<int>(primary.crtc->height)};
}

int qbDisplayModes(QbDisplayMode* modes, int capacity, QbDisplayMode* desktop) {
    *desktop = {};
    const QbDialogSession session("The list of display modes");
    if (!session.open()) return 0;
    const int bits = pixelBits();
    const Primary primary = findPrimary();
    int count = 0;
    if (primary.crtc) {
        *desktop = displayMode(*primary.resources, primary.crtc->mode, bits);
        for (int i = 0; i < primary.output->nmode && count < capacity; ++i)
            modes[count++] = displayMode(*primary.resources, primary.output->modes[i], bits);
    } else {
        *desktop = {DisplayWidth(fl_display, fl_screen), DisplayHeight(fl_display, fl_screen), bits, 0};
    }
    if (count == 0 && capacity > 0) modes[count++] = *desktop;
    return count;
}
