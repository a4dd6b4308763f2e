#include "app/process_state.h"

ProcessState gState = {};
