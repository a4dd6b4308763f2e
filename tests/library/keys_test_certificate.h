#pragma once
// The certificate maker under the name the wire tests include it by.
#include "test_crypto.h"
