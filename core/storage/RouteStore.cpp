#include "core/storage/RouteStore.hpp"

#include "core/storage/ApplicationSupportFolder.hpp"
#include "core/storage/AtomicFile.hpp"
#include "core/storage/RouteSetDocumentCoder.hpp"

#include <exception>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace corvel {

namespace {

using std::filesystem::path;

constexpr const char* kFileName = "routes.json";
constexpr const char* kFolderName = "Corvel";
constexpr const char* kLegacyFolderName = "MIDIRouter";

path legacyDefaultFileURL() {
    return applicationSupportFolder() / kLegacyFolderName / kFileName;
}

[[noreturn]] void failToWrite(const path& file, const std::system_error& error) {
    throw RouteStoreError(file.string() + ": " + error.code().message());
}

std::optional<MIDIRouteSetDocument> decodeEitherForm(std::string_view json) {
    try {
        return RouteSetDocumentCoder::decode(json);
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

std::optional<MIDIRouteSetDocument> readDocument(const path& file) {
    try {
        return decodeEitherForm(readFile(file));
    } catch (const std::exception&) {
        // Whatever the reason, a file too large for the memory included: a show must start all the same.
        return std::nullopt;
    }
}

/// Copies a file that no load would accept to a name that is free beside it, and returns that name; does nothing if
/// there is no file or it is acceptable. A file that cannot be read is an error: nobody knows what would be lost.
std::optional<path> keepIfUnreadable(const path& file) {
    std::string bytes;
    try {
        bytes = readFile(file);
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory) {
            return std::nullopt;
        }
        throw;
    }
    if (decodeEitherForm(bytes)) {
        return std::nullopt;
    }
    for (int number = 1;; ++number) {
        path copy = file;
        copy += number == 1 ? ".unreadable" : ".unreadable-" + std::to_string(number);
        try {
            createFile(copy, bytes, file);
            return copy;
        } catch (const std::system_error& error) {
            if (error.code() != std::errc::file_exists) {
                failToWrite(copy, error);
            }
        }
    }
}

void removeFolderIfEmpty(const path& folder) {
    std::error_code error;
    if (std::filesystem::is_empty(folder, error) && !error) {
        std::filesystem::remove(folder, error);
    }
}

/// Whether anything is at the path, as far as can be told; a place that cannot be looked at is left alone.
bool isTaken(const path& file) {
    std::error_code error;
    return std::filesystem::status(file, error).type() != std::filesystem::file_type::not_found;
}

}  // namespace

RouteStore::RouteStore(path fileURL, std::optional<path> legacyFileURL)
    : fileURL_(std::move(fileURL)), legacyFileURL_(std::move(legacyFileURL)) {
    if (!legacyFileURL_ && fileURL_ == defaultFileURL()) {
        legacyFileURL_ = legacyDefaultFileURL();
    }
}

path RouteStore::defaultFileURL() {
    return applicationSupportFolder() / kFolderName / kFileName;
}

MIDIRouteSetDocument RouteStore::loadDocument() const {
    if (auto document = readDocument(fileURL_)) {
        return *std::move(document);
    }
    if (legacyFileURL_) {
        if (auto document = readDocument(*legacyFileURL_)) {
            migrate(*document, *legacyFileURL_);
            return *std::move(document);
        }
    }
    return MIDIRouteSetDocument::singleSet({}, MIDIRouteSetDocument::kDefaultSetName);
}

void RouteStore::saveDocument(const MIDIRouteSetDocument& document) const {
    try {
        if (fileURL_.has_parent_path()) {
            std::filesystem::create_directories(fileURL_.parent_path());
        }
        replaceFile(RouteSetDocumentCoder::encode(document));
    } catch (const std::system_error& error) {
        failToWrite(fileURL_, error);
    }
}

std::vector<MIDIRoute> RouteStore::load() const {
    return loadDocument().selectedRouteSet().routes;
}

void RouteStore::save(const std::vector<MIDIRoute>& routes) const {
    saveDocument(MIDIRouteSetDocument::singleSet(routes, MIDIRouteSetDocument::kDefaultSetName));
}

void RouteStore::replaceFile(std::string_view json) const {
    // Ahead of the copy, so that saves that fail again and again for want of space leave no copies behind.
    AtomicFile replacement(fileURL_, json);
    std::optional<path> copy;
    if (!lastWritten_ || fileStamp(fileURL_) != lastWritten_) {
        copy = keepIfUnreadable(fileURL_);
    }
    try {
        replacement.commit();
    } catch (const std::system_error&) {
        if (copy) {
            std::error_code ignored;
            std::filesystem::remove(*copy, ignored);
        }
        throw;
    }
    lastWritten_ = replacement.stamp();
}

void RouteStore::migrate(const MIDIRouteSetDocument& document, const path& legacyFile) const {
    if (isTaken(fileURL_)) {
        return;
    }
    try {
        saveDocument(document);
    } catch (const RouteStoreError&) {
        // The old file is still there, so the next start tries again.
        return;
    }
    std::error_code ignored;
    std::filesystem::remove(legacyFile, ignored);
    removeFolderIfEmpty(legacyFile.parent_path());
}

}  // namespace corvel
