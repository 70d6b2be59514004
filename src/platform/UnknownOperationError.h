#pragma once

#include "platform/PlatformError.h"

// An object was asked to perform an operation it does not offer.
class UnknownOperationError : public PlatformError {
public:
    using PlatformError::PlatformError;
};
