#pragma once

#include "core/routes/MIDIRouteSetDocument.hpp"
#include "core/storage/AtomicFile.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {

/// A document could not be written. `what()` is the path, ": " and the system's text.
class RouteStoreError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads and writes the connection-sets document, one JSON file.
///
/// Keeps no document in memory: every load reads the disk, every save rewrites the whole file, atomically. A save never
/// destroys what this store has not read: a file that is neither the one that it loaded nor the one that it wrote is
/// kept beside the new one, "routes.json.kept", or "routes.json.unreadable" where it cannot be read. Runs on its
/// caller's thread; one caller at a time.
class RouteStore {
public:
    /// Larger files are not read, and not written.
    static constexpr std::size_t kMaxFileSize = 64 * 1024 * 1024;

    /// What it means that there is no file: a first start, or that something is wrong.
    enum class MissingFile : std::uint8_t { isNormal, isAProblem };

    /// A given `legacyFileURL` is the place of an older installation's file, which is taken over when there is no
    /// current one. Without one, only the store at `defaultFileURL()` has a legacy place, the default one.
    explicit RouteStore(std::filesystem::path fileURL,
                        std::optional<std::filesystem::path> legacyFileURL = std::nullopt,
                        MissingFile missingFile = MissingFile::isNormal);

    RouteStore(const RouteStore&) = delete;
    RouteStore& operator=(const RouteStore&) = delete;

    /// "Corvel/routes.json" in the user's application-support folder: `$XDG_DATA_HOME` if absolute, else
    /// `.local/share` in the home folder, else the temporary folder.
    [[nodiscard]] static std::filesystem::path defaultFileURL();

    /// The place that this store reads and writes.
    [[nodiscard]] const std::filesystem::path& fileURL() const { return fileURL_; }

    /// The saved document, normalised. A missing or undecodable file falls back to the legacy file, which is then
    /// moved to the current place if nothing is there, and last to one empty set "Default". Never fails;
    /// `loadProblem()` tells what was wrong.
    [[nodiscard]] MIDIRouteSetDocument loadDocument() const;

    /// Why the last load could not use the current file, and what is used instead, one line that begins with the path;
    /// no value if it could.
    [[nodiscard]] const std::optional<std::string>& loadProblem() const { return loadProblem_; }

    /// Writes the document as it is, creating folders as needed. A reader sees the old file or the new one, never a
    /// part. Gives the place of the copy if the old file was unknown to this store and is kept; where it cannot be kept
    /// nothing is replaced. Throws `RouteStoreError`; the old file is then intact.
    std::optional<std::filesystem::path> saveDocument(const MIDIRouteSetDocument& document) const;

    /// The connections of the saved document's selected set.
    [[nodiscard]] std::vector<MIDIRoute> load() const;

    /// Writes a document of one set "Default" with these connections; all other sets are discarded. Throws
    /// `RouteStoreError`.
    void save(const std::vector<MIDIRoute>& routes) const;

private:
    /// Writes what was read from the legacy file to the current place, if nothing is there, and then removes the legacy
    /// file, and its folder if nothing else is in it.
    void migrate(const MIDIRouteSetDocument& document, const std::filesystem::path& legacyFile) const;

    /// Puts the text in the place of the current file. The result is that of `saveDocument`.
    std::optional<std::filesystem::path> replaceFile(std::string_view text) const;
    std::optional<std::filesystem::path> keepIfUnknown(AtomicFile& replacement) const;

    std::filesystem::path fileURL_;
    std::optional<std::filesystem::path> legacyFileURL_;
    MissingFile missingFile_;
    /// The fingerprint of the file's text as this store last loaded or wrote it; none if the last load found no
    /// document. Of the text, because inode and time of an unchanged file change on some file systems, such as FAT and
    /// sshfs.
    mutable std::optional<std::size_t> known_;
    mutable std::optional<std::string> loadProblem_;
};

}  // namespace corvel
