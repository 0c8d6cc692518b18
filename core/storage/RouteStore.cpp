#include "core/storage/RouteStore.hpp"

#include "core/storage/ApplicationSupportFolder.hpp"
#include "core/storage/AtomicFile.hpp"
#include "core/storage/KeptCopies.hpp"
#include "core/storage/RouteSetDocumentCoder.hpp"

#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace corvel {

namespace {

using std::filesystem::path;

constexpr const char* kTooLarge = "larger than 64 MB";
constexpr const char* kNoMemory = "not enough memory to read it";
constexpr const char* kFileName = "routes.json";
constexpr const char* kFolderName = "Corvel";
constexpr const char* kLegacyFolderName = "MIDIRouter";

path legacyDefaultFileURL() {
    return applicationSupportFolder() / kLegacyFolderName / kFileName;
}

[[noreturn]] void failToWrite(const path& file, const std::system_error& error) {
    throw RouteStoreError(file.string() + ": " + error.code().message());
}

std::size_t fingerprint(std::string_view text) {
    return std::hash<std::string_view>()(text);
}

/// The text of a file, or the reason why it could not be read.
struct FileText {
    std::optional<std::string> text;
    std::string problem;
    bool isMissing = false;
};

FileText readText(const path& file) {
    try {
        return {.text = readFile(file, RouteStore::kMaxFileSize), .problem = {}};
    } catch (const std::system_error& error) {
        const bool isTooLarge = error.code() == std::errc::file_too_large;
        return {.text = std::nullopt,
                .problem = isTooLarge ? kTooLarge : error.code().message(),
                .isMissing = error.code() == std::errc::no_such_file_or_directory};
    } catch (const std::bad_alloc&) {
        return {.text = std::nullopt, .problem = kNoMemory};
    }
}

/// The document in a file. If there is none, `problem` gives the reason.
std::optional<MIDIRouteSetDocument> documentIn(FileText& file) {
    try {
        return file.text ? std::optional(RouteSetDocumentCoder::decode(*file.text)) : std::nullopt;
    } catch (const DecodingError& error) {
        file.problem = error.what();
    } catch (const std::bad_alloc&) {
        // A small file can hold very many values. The program must start all the same.
        file.problem = kNoMemory;
    }
    return std::nullopt;
}

/// Whether the path exists. A path that cannot be examined counts as taken, so that it is left alone.
bool isTaken(const path& file) {
    std::error_code error;
    return std::filesystem::status(file, error).type() != std::filesystem::file_type::not_found;
}

bool isLink(const path& file) {
    std::error_code error;
    return std::filesystem::is_symlink(std::filesystem::symlink_status(file, error));
}

}  // namespace

RouteStore::RouteStore(path fileURL, std::optional<path> legacyFileURL, MissingFile missingFile)
    : fileURL_(std::move(fileURL)), legacyFileURL_(std::move(legacyFileURL)), missingFile_(missingFile) {
    if (!legacyFileURL_ && fileURL_ == defaultFileURL()) {
        legacyFileURL_ = legacyDefaultFileURL();
    }
}

path RouteStore::defaultFileURL() {
    return applicationSupportFolder() / kFolderName / kFileName;
}

MIDIRouteSetDocument RouteStore::loadDocument() const {
    AtomicFile::removeAbandoned(fileURL_);
    known_.reset();
    loadProblem_.reset();
    FileText current = readText(fileURL_);
    if (auto document = documentIn(current)) {
        known_ = fingerprint(*current.text);
        return *std::move(document);
    }
    // A broken link is never normal: its target may be on a disk that is not mounted yet.
    const bool isNormal = current.isMissing && missingFile_ == MissingFile::isNormal && !isLink(fileURL_);
    const auto noteProblem = [&](std::string_view consequence) {
        if (!isNormal) {
            loadProblem_ = fileURL_.string() + ": " + current.problem + "; " + std::string(consequence);
        }
    };
    if (legacyFileURL_) {
        FileText legacy = readText(*legacyFileURL_);
        if (auto document = documentIn(legacy)) {
            noteProblem("the older installation's sets are used");
            migrate(*document, *legacyFileURL_);
            return *std::move(document);
        }
    }
    noteProblem("an empty set is used");
    return MIDIRouteSetDocument::singleSet({}, MIDIRouteSetDocument::kDefaultSetName);
}

std::optional<path> RouteStore::saveDocument(const MIDIRouteSetDocument& document) const {
    const std::string text = RouteSetDocumentCoder::encode(document);
    if (text.size() > kMaxFileSize) {
        throw RouteStoreError(fileURL_.string() + ": " + kTooLarge);
    }
    try {
        if (fileURL_.has_parent_path()) {
            std::filesystem::create_directories(fileURL_.parent_path());
        }
        AtomicFile::removeAbandoned(fileURL_);
        return replaceFile(text);
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

std::optional<path> RouteStore::replaceFile(std::string_view text) const {
    // Written before the copy is made, so that repeated saves that fail for lack of space leave no copies.
    AtomicFile replacement(fileURL_, text);
    std::optional<path> copy = keepIfUnknown(replacement);
    replacement.commit();
    known_ = fingerprint(text);
    return copy;
}

std::optional<path> RouteStore::keepIfUnknown(AtomicFile& replacement) const {
    const path& file = replacement.target();
    FileText current = readText(file);
    if (current.isMissing || (current.text && fingerprint(*current.text) == known_)) {
        return std::nullopt;
    }
    const KeptCopies copies(file, documentIn(current) ? "kept" : "unreadable");
    if (auto copy = current.text ? copies.holding(*current.text) : std::nullopt) {
        return copy;
    }
    path copy = copies.nextName();
    try {
        replacement.keepOld(copy);
    } catch (const std::system_error& error) {
        failToWrite(copy, error);
    }
    copies.makeRoom();
    return copy;
}

void RouteStore::migrate(const MIDIRouteSetDocument& document, const path& legacyFile) const {
    if (isTaken(fileURL_)) {
        return;
    }
    try {
        saveDocument(document);
    } catch (const RouteStoreError&) {
        // The old file still exists, so the next start tries again.
        return;
    }
    std::error_code ignored;
    std::filesystem::remove(legacyFile, ignored);
    // Fails if the folder is not empty.
    std::filesystem::remove(legacyFile.parent_path(), ignored);
}

}  // namespace corvel
