#include "app/DocumentProblem.hpp"

#include "core/storage/DecodingError.hpp"
#include "core/storage/RouteSetDocumentCoder.hpp"

#include <cerrno>
#include <fstream>
#include <ios>
#include <sstream>
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
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    // A file without a byte adds nothing, which the stream takes for a failure.
    if (!stream || (!(content << stream.rdbuf()) && errno != 0)) {
        return std::generic_category().message(errno);
    }
    const std::string json = std::move(content).str();
    std::optional<std::string> problem = decodingProblem(json);
    return problem && isRouteArray(json) ? std::nullopt : problem;
}

}  // namespace corvel
