#pragma once

#include <QPixmap>

namespace app {

// The program's picture: three candles on a rising line, drawn at any size.
QPixmap drawLogo(int size);

} // namespace app
