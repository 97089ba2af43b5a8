#pragma once

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "core/Logger.h"

// A catalogue with what makes names hard: shared message and signal names across buses,
// names differing only in case, and bus names holding the selection file's separators.
inline const CANData& fuzzCatalogue()
{
    static const CANData& catalogue = []() -> const CANData& {
        // Every input is refused somewhere; the lines would only slow the run.
        Logger::removeSink(Logger::standardErrorSink());
        const QByteArray text = "BO_ 256 Engine: 8 X\n SG_ Rpm : 0|16@1+ (1,0) [0|0] \"\" X\n"
                                " SG_ rpm : 16|8@1+ (1,0) [0|0] \"\" X\n SG_ Temp : 24|8@1+ (1,0) [0|0] \"\" X\n"
                                "BO_ 257 Brakes: 8 X\n SG_ Pressure : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                "BO_ 2566844926 Tyres: 8 X\n SG_ Front : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                "BO_ 258 Empty: 8 X\n";
        CANData c;
        for (const char* bus : {"PT", "CH", "pt", "odd:bus", "odd,bus"})
            c.addBusFromText(text, QString::fromUtf8(bus), QStringLiteral("fuzz"));
        CANDataManager::replaceCatalogue(std::move(c));
        return CANDataManager::catalogue();
    }();
    return catalogue;
}
