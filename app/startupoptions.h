#pragma once

namespace context {
struct AppContext;
}

namespace app {

// Reads the download options s1 and s2 from the symbol database into the shared state. A missing or
// damaged database, or a missing "settings" table, leaves them at 0 without a word.
void loadStartupOptions(context::AppContext& context);

} // namespace app
