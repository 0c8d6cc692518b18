#pragma once

#include <array>

namespace corvel {

/// The arguments that Qt gets to see: the program's name alone. The options are Corvel's. Qt keeps references: it must
/// outlive the application object.
class QtArguments {
public:
    explicit QtArguments(char* program) : values_{program, nullptr} {}
    QtArguments(const QtArguments&) = delete;
    QtArguments& operator=(const QtArguments&) = delete;

    [[nodiscard]] int& count() { return count_; }
    [[nodiscard]] char** values() { return values_.data(); }

private:
    std::array<char*, 2> values_;
    int count_ = 1;
};

}  // namespace corvel
