#pragma once

#include "core/routes/MIDIRouteSetDocument.hpp"
#include "core/storage/AtomicFile.hpp"

#include <filesystem>
#include <optional>
#include <stdexcept>
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
/// Keeps no document in memory: every load reads the disk, every save rewrites the whole file, atomically. Runs on its
/// caller's thread; one caller at a time.
class RouteStore {
public:
    /// A given `legacyFileURL` is the place of an older installation's file, which is taken over when there is no
    /// current one. Without one, only the store at `defaultFileURL()` has a legacy place, the default one.
    explicit RouteStore(std::filesystem::path fileURL,
                        std::optional<std::filesystem::path> legacyFileURL = std::nullopt);

    RouteStore(const RouteStore&) = delete;
    RouteStore& operator=(const RouteStore&) = delete;

    /// "Corvel/routes.json" in the user's application-support folder: `$XDG_DATA_HOME` if absolute, else
    /// `.local/share` in the home folder, else the temporary folder.
    [[nodiscard]] static std::filesystem::path defaultFileURL();

    /// The place that this store reads and writes.
    [[nodiscard]] const std::filesystem::path& fileURL() const { return fileURL_; }

    /// The saved document, normalised. A missing or undecodable file falls back to the legacy file, which is then
    /// moved to the current place if nothing is there, and last to one empty set "Default". Never fails, and reports
    /// nothing.
    [[nodiscard]] MIDIRouteSetDocument loadDocument() const;

    /// Writes the document as it is, creating folders as needed. A reader sees the old file or the new one, never a
    /// part. A current file that cannot be decoded is first copied beside itself (".unreadable", ".unreadable-2" and so
    /// on); where that fails nothing is replaced. Throws `RouteStoreError`; the old file is then intact.
    void saveDocument(const MIDIRouteSetDocument& document) const;

    /// The connections of the saved document's selected set.
    [[nodiscard]] std::vector<MIDIRoute> load() const;

    /// Writes a document of one set "Default" with these connections; all other sets are discarded. Throws
    /// `RouteStoreError`.
    void save(const std::vector<MIDIRoute>& routes) const;

private:
    /// Writes what was read from the legacy file to the current place, if nothing is there, and then removes the legacy
    /// file, and its folder if nothing else is in it.
    void migrate(const MIDIRouteSetDocument& document, const std::filesystem::path& legacyFile) const;

    /// Puts the text in the place of the current file, of which a copy is kept if no load would accept it.
    void replaceFile(std::string_view json) const;

    std::filesystem::path fileURL_;
    std::optional<std::filesystem::path> legacyFileURL_;
    /// The file as this store last left it. As long as that is what stands there, a save can replace it without
    /// decoding it first, which for large documents takes longer than the writing. Only ever a shortcut: no result
    /// depends on it.
    mutable std::optional<FileStamp> lastWritten_;
};

}  // namespace corvel
