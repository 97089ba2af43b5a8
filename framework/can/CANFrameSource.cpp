#include "can/CANFrameSource.h"

#include "can/CANData.h"

CANFrameSource::~CANFrameSource() = default;

CANInterfaceRoutes::CANInterfaceRoutes(const CANData& catalogue)
{
    for (int i = 0; i < catalogue.busCount(); ++i)
        mBusNames.push_back(catalogue.busAt(i)->name().toStdString());
}

bool CANInterfaceRoutes::map(const QString& iface, const QString& bus)
{
    const std::string name = bus.toStdString();
    for (size_t i = 0; i < mBusNames.size(); ++i) {
        if (mBusNames[i] == name) {
            mExplicit.emplace_back(iface.toStdString(), int(i));
            return true;
        }
    }
    return false;
}

int CANInterfaceRoutes::busFor(std::string_view iface) const
{
    for (const auto& e : mExplicit)
        if (e.first == iface)
            return e.second;
    for (size_t i = 0; i < mBusNames.size(); ++i)
        if (mBusNames[i] == iface)
            return int(i);
    return mBusNames.size() == 1 ? 0 : -1;
}
