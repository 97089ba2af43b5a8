#pragma once

#include <QString>

// Where the bench's own parts are (the plug-in, the host commands, the browser's launcher):
// beside the bench in a build tree, in ../lib/orvane once installed.
QString benchLibraryDir();
