#pragma once

// The profiles, one per provider; allSources() lists them.

#include "quotesource.h"

namespace download::sources {

const QuoteSource& classicSource();
const QuoteSource& yahooSource();
const QuoteSource& stooqSource();
const QuoteSource& alphaVantageSource();
const QuoteSource& tiingoSource();
const QuoteSource& eodhdSource();

} // namespace download::sources
