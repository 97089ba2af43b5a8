#pragma once

// Classes a plug-in subclasses, casts to or calls carry this; everything else stays hidden.
#define ORVANE_EXPORT __attribute__((visibility("default")))
