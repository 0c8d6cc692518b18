#pragma once

#include <stdexcept>

namespace corvel {

/// Why a text could not be decoded: the place, ": " and the reason ("routeSets[0].routes[2].channelMode: Invalid number
/// of keys found, expected one.").
class DecodingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace corvel
