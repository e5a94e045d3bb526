#pragma once

#include <memory>
#include <optional>

namespace app {

// The Caps Lock and Num Lock states as the windowing system tells them. Where it does not (offscreen,
// Wayland), the states are unknown and the status bar shows them as off.
class KeyboardLocks
{
public:
    struct State
    {
        bool caps = false;
        bool num = false;
    };

    virtual ~KeyboardLocks() = default;
    virtual std::optional<State> read() const = 0;
};

// The reader for the platform the application runs on.
std::unique_ptr<KeyboardLocks> makeKeyboardLocks();

} // namespace app
