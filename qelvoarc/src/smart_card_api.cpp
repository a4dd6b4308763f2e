// Smart-card support.

#include "qelvoarc.h"

extern "C" {

// No card reader is driven by this build yet, so the console hides its card functions.
uint32_t QSCIsLibLoaded(void) {
    return 0;
}

}  // extern "C"
