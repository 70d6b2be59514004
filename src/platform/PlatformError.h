#pragma once

#include <stdexcept>
#include <string>

// Base of the three errors the event loop logs and survives; anything else is a real bug.
class PlatformError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
