#pragma once

#include "platform/PlatformError.h"

// An index outside a list.
class RangeError : public PlatformError {
public:
    using PlatformError::PlatformError;
};
