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
/// Keeps no document in memory: every load reads the disk, and every save atomically rewrites the whole file. A save
/// never destroys a file that this store did not load or write: it keeps the file beside the new one as
/// "routes.json.kept", or as "routes.json.unreadable" if it cannot be read. Runs on the caller's thread; one caller at
/// a time.
class RouteStore {
public:
    /// Larger files are neither read nor written.
    static constexpr std::size_t kMaxFileSize = 64 * 1024 * 1024;

    /// What a missing file means: a first start, or a problem.
    enum class MissingFile : std::uint8_t { isNormal, isAProblem };

    /// `legacyFileURL` is the path of an older installation's file, which is migrated if there is no current one. If it
    /// is not given, only the store at `defaultFileURL()` has a legacy path, the default one.
    explicit RouteStore(std::filesystem::path fileURL,
                        std::optional<std::filesystem::path> legacyFileURL = std::nullopt,
                        MissingFile missingFile = MissingFile::isNormal);

    RouteStore(const RouteStore&) = delete;
    RouteStore& operator=(const RouteStore&) = delete;

    /// "Corvel/routes.json" in the user's application-support folder: `$XDG_DATA_HOME` if absolute, otherwise
    /// `.local/share` in the home folder, otherwise the temporary folder.
    [[nodiscard]] static std::filesystem::path defaultFileURL();

    /// The path that this store reads and writes.
    [[nodiscard]] const std::filesystem::path& fileURL() const { return fileURL_; }

    /// The saved document, normalised. If the file is missing or cannot be decoded, the legacy file, which is then
    /// moved to the current path if that is free; otherwise one empty set "Default". Never fails; `loadProblem()` gives
    /// the reason.
    [[nodiscard]] MIDIRouteSetDocument loadDocument() const;

    /// Why the last load could not use the current file, and what it used instead: one line that begins with the path.
    /// No value if the file was used.
    [[nodiscard]] const std::optional<std::string>& loadProblem() const { return loadProblem_; }

    /// Writes the document as it is, and creates missing folders. A reader sees either the old or the new file, never a
    /// part. If the old file is unknown to this store, it is kept, and the path of the copy is returned; if it cannot
    /// be kept, nothing is replaced. Throws `RouteStoreError`; the old file is then intact.
    std::optional<std::filesystem::path> saveDocument(const MIDIRouteSetDocument& document) const;

    /// The connections of the saved document's selected set.
    [[nodiscard]] std::vector<MIDIRoute> load() const;

    /// Writes a document of one set "Default" with these connections; all other sets are discarded. Throws
    /// `RouteStoreError`.
    void save(const std::vector<MIDIRoute>& routes) const;

private:
    /// Writes the document from the legacy file to the current path if that is free. Then removes the legacy file, and
    /// its folder if it is empty.
    void migrate(const MIDIRouteSetDocument& document, const std::filesystem::path& legacyFile) const;

    /// Replaces the current file by the text. The result is that of `saveDocument`.
    std::optional<std::filesystem::path> replaceFile(std::string_view text) const;
    std::optional<std::filesystem::path> keepIfUnknown(AtomicFile& replacement) const;

    std::filesystem::path fileURL_;
    std::optional<std::filesystem::path> legacyFileURL_;
    MissingFile missingFile_;
    /// The fingerprint of the file's text as this store last loaded or wrote it; no value if the last load found no
    /// document. Inode and time are not used, because on some file systems, such as FAT and sshfs, they change although
    /// the file does not.
    mutable std::optional<std::size_t> known_;
    mutable std::optional<std::string> loadProblem_;
};

}  // namespace corvel
