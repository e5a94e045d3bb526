#include "startupoptions.h"

#include "context/appcontext.h"
#include "symbols/symbolsdb.h"

namespace app {

void loadStartupOptions(context::AppContext& context)
{
    // The program starts all the same without its database; the options then keep 0.
    try {
        const symbols::Options options = symbols::readOptions(context);
        context.state.s1 = options.s1;
        context.state.s2 = options.s2;
    } catch (const symbols::DatabaseError&) {
    }
}

} // namespace app
