#include "app/DocumentProblem.hpp"

#include "core/storage/AtomicFile.hpp"
#include "core/storage/DecodingError.hpp"
#include "core/storage/RouteSetDocumentCoder.hpp"

#include <string_view>
#include <system_error>

namespace corvel {

namespace {

std::optional<std::string> decodingProblem(std::string_view json) {
    try {
        static_cast<void>(RouteSetDocumentCoder::decode(json));
        return std::nullopt;
    } catch (const DecodingError& error) {
        return error.what();
    }
}

}  // namespace

std::optional<std::string> documentProblem(const std::filesystem::path& file) {
    std::string json;
    try {
        json = readFile(file);
    } catch (const std::system_error& error) {
        return error.code().message();
    }
    return decodingProblem(json);
}

}  // namespace corvel
