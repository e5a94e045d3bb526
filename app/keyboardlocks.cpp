#include "keyboardlocks.h"

#include <QGuiApplication>

#include <X11/XKBlib.h>

namespace app {

namespace {

class X11KeyboardLocks : public KeyboardLocks
{
public:
    explicit X11KeyboardLocks(Display* display)
        : m_display(display)
    {}

    std::optional<State> read() const override
    {
        // Indicators by name: their bit positions differ between keyboard maps.
        State state;
        if (!indicator("Caps Lock", state.caps) || !indicator("Num Lock", state.num))
            return std::nullopt;
        return state;
    }

private:
    bool indicator(const char* name, bool& on) const
    {
        const Atom atom = XInternAtom(m_display, name, True);
        if (atom == None)
            return false;
        Bool value = False;
        if (!XkbGetNamedIndicator(m_display, atom, nullptr, &value, nullptr, nullptr))
            return false;
        on = value;
        return true;
    }

    Display* m_display;
};

class UnknownKeyboardLocks : public KeyboardLocks
{
public:
    std::optional<State> read() const override { return std::nullopt; }
};

} // namespace

std::unique_ptr<KeyboardLocks> makeKeyboardLocks()
{
    if (auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr) {
        if (Display* display = x11->display())
            return std::make_unique<X11KeyboardLocks>(display);
    }
    return std::make_unique<UnknownKeyboardLocks>();
}

} // namespace app
