#pragma once

#include "tarvo/Export.h"

// Version of the library, exported with C linkage so that any host can read it.
extern "C" {
/// Major and minor version as a number, e.g. 0.1 for 0.1.0.
TARVO_EXPORT extern const double TarvoCoreVersionNumber;
/// Full version text, e.g. "0.1.0".
TARVO_EXPORT extern const unsigned char TarvoCoreVersionString[];
}
