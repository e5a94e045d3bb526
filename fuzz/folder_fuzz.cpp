// libFuzzer entry: a data folder built from the input bytes, read, checked and written through the
// public classes (see folderinput.h).

#include "folderinput.h"

#include <QTemporaryDir>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QTemporaryDir folder;
    fuzz::runFolderInput(data, size, folder.path());
    return 0;
}
