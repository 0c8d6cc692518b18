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

bool isRouteArray(std::string_view json) {
    try {
        static_cast<void>(RouteSetDocumentCoder::decodeRouteArray(json));
        return true;
    } catch (const DecodingError&) {
        return false;
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
    std::optional<std::string> problem = decodingProblem(json);
    return problem && isRouteArray(json) ? std::nullopt : problem;
}

}  // namespace corvel
