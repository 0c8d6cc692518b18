#pragma once

#include <array>

namespace corvel {

/// The arguments for Qt: only the program's name, because the options are Corvel's. Qt keeps references, so this must
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
