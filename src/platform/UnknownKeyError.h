#pragma once

#include "platform/PlatformError.h"

// A record was asked for a key it does not have.
class UnknownKeyError : public PlatformError {
public:
    using PlatformError::PlatformError;
};
