#include "startupoptions.h"

#include "core/appcontext.h"

namespace app {

void loadStartupOptions(AppContext& context)
{
    context.state.s1 = 0;
    context.state.s2 = 0;
}

} // namespace app
