#pragma once

#define DIAG_EXPORT __attribute__((visibility("default")))
