// Any bytes as a CAN View Filter: either refused with nothing kept, or what is kept is a
// well-formed part of the catalogue in catalogue order.
#include "fuzz_support.h"

#include "diag/can/CANDataModel.h"

#include <cstdlib>

namespace {

void check(const CANDataModel::CANFilterEntry& entry, int count, int level, const CANBusNode* bus,
           const CANMessageNode* message)
{
    if (entry.children.size() != entry.indices.size())
        std::abort();
    for (int i = 0; i < entry.indices.size(); ++i) {
        const int index = entry.indices[i];
        if (index < 0 || index >= count || (i > 0 && index <= entry.indices[i - 1]))
            std::abort();
        const CANDataModel::CANFilterEntry& child = entry.children[i];
        if (level == 0)
            check(child, fuzzCatalogue().busAt(index)->messageCount(), 1, fuzzCatalogue().busAt(index), nullptr);
        else if (level == 1)
            check(child, bus->messageAt(index)->signalCount(), 2, bus, bus->messageAt(index));
        else if (!child.indices.isEmpty() || !child.children.isEmpty() || !message)
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const CANData& catalogue = fuzzCatalogue();
    CANDataModel::CANFilterEntry root;
    const QByteArray text(reinterpret_cast<const char*>(data), int(size));
    if (!CANDataModel::applyFilter(text, catalogue, &root) && (!root.indices.isEmpty() || !root.children.isEmpty()))
        std::abort();
    check(root, catalogue.busCount(), 0, nullptr, nullptr);
    return 0;
}
