// Any bytes as a saved CAN selection: only catalogue signals come back, and writing them
// and reading that again gives the same list.
#include "fuzz_support.h"

#include "diag/can/CANSelectionFile.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const CANData& catalogue = fuzzCatalogue();
    int skipped = -1;
    const QVector<CANSignalNode*> found = CANSelectionFile::parse(QByteArray(reinterpret_cast<const char*>(data), int(size)), &skipped);
    if (skipped < 0)
        std::abort();
    for (const CANSignalNode* s : found) {
        if (!s || catalogue.signalById(s->id()) != s)
            std::abort();
    }
    if (CANSelectionFile::parse(CANSelectionFile::format(found)) != found)
        std::abort();
    return 0;
}
