#pragma once

#include "OrvaneExport.h"

#include <QString>

class DisplayView;

// The host's record of a loaded application: where its files are and the view it lives in.
class ORVANE_EXPORT AppInfo {
public:
    AppInfo(const QString& directoryPath, DisplayView* displayView)
        : mDirectoryPath(directoryPath)
        , mDisplayView(displayView)
    {
    }
    QString directoryPath() const { return mDirectoryPath; }
    DisplayView* displayView() const { return mDisplayView; }

private:
    QString mDirectoryPath;
    DisplayView* mDisplayView;
};
