// The time to write, read and save the connection-sets document, and its growth with the document's size. Each figure
// is compared with a JSON library, or with bare system calls, on the same bytes.

#include "benchmarks/Benchmarks.hpp"
#include "benchmarks/support/SampleDocument.hpp"
#include "core/storage/RouteSetDocumentCoder.hpp"
#include "core/storage/RouteStore.hpp"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace corvel::benchmarks {

namespace {

using std::filesystem::path;

/// The middle size; it is compared with half and twice of it.
constexpr std::size_t kSets = 20;

MIDIRouteSetDocument makeSample(std::size_t sets) {
    return makeDocument({.sets = sets});
}

void encode(benchmark::State& state, std::size_t sets) {
    const MIDIRouteSetDocument document = makeSample(sets);
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(RouteSetDocumentCoder::encode(document));
    }
}

void encodeWithLibrary(benchmark::State& state) {
    const auto json = nlohmann::json::parse(RouteSetDocumentCoder::encode(makeSample(kSets)));
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(json.dump(2));
    }
}

void decode(benchmark::State& state, std::size_t sets) {
    const MIDIRouteSetDocument document = makeSample(sets);
    const std::string text = RouteSetDocumentCoder::encode(document);
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(RouteSetDocumentCoder::decode(text));
    }
    if (RouteSetDocumentCoder::decode(text) != document) {
        state.SkipWithError("the document did not survive");
    }
}

void decodeWithLibrary(benchmark::State& state) {
    const std::string text = RouteSetDocumentCoder::encode(makeSample(kSets));
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(nlohmann::json::parse(text));
    }
}

/// A folder in `parent` that is deleted at the end.
class Folder {
public:
    explicit Folder(const path& parent) : path_(parent / ("corvel-benchmark-" + std::to_string(::getpid()))) {
        std::filesystem::create_directories(path_);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] path file() const { return path_ / "routes.json"; }

private:
    path path_;
};

void save(benchmark::State& state, const path& parent, std::size_t sets) {
    const MIDIRouteSetDocument document = makeSample(sets);
    const Folder folder(parent);
    const RouteStore store(folder.file());
    for ([[maybe_unused]] const auto _ : state) {
        store.saveDocument(document);
    }
    if (store.loadDocument() != document) {
        state.SkipWithError("the document did not survive");
    }
}

/// The minimal operations that replace a file so that it is complete even after a power cut.
bool replaceBarely(const path& file, const std::string& bytes) {
    const std::string temporary = file.string() + ".new";
    const int descriptor = ::open(temporary.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600);
    const bool isWritten = ::write(descriptor, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
                           ::fsync(descriptor) == 0;
    ::close(descriptor);
    const int folder = ::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool isReplaced = isWritten && std::rename(temporary.c_str(), file.c_str()) == 0 && ::fsync(folder) == 0;
    ::close(folder);
    return isReplaced;
}

void saveBarely(benchmark::State& state, const path& parent) {
    const std::string bytes = RouteSetDocumentCoder::encode(makeSample(kSets));
    const Folder folder(parent);
    for ([[maybe_unused]] const auto _ : state) {
        if (!replaceBarely(folder.file(), bytes)) {
            state.SkipWithError("the file could not be written");
            return;
        }
    }
}

}  // namespace

void registerDocumentBenchmarks(Summary& summary) {
    const double size = static_cast<double>(DocumentSize{.sets = kSets}.assignments());
    const auto addSizes = [&](const std::string& what, const auto& run, bool isRealTime) {
        std::vector<std::string> names;
        for (const std::size_t sets : {kSets / 2, kSets, kSets * 2}) {
            names.push_back("document, " + what + ", " + std::to_string(sets) + " sets");
            auto* added = benchmark::RegisterBenchmark(names.back().c_str(), run, sets);
            added->Unit(benchmark::kMillisecond);
            if (isRealTime) {
                added->UseRealTime();
            }
        }
        summary.addGrowth(names[0], names[1], names[2], size);
        return names[1];
    };
    const auto addBaseline = [&](const std::string& what, const std::string& name, const auto& run, bool isRealTime) {
        const std::string baseline = "document, " + what;
        auto* added = benchmark::RegisterBenchmark(baseline.c_str(), run);
        added->Unit(benchmark::kMillisecond);
        if (isRealTime) {
            added->UseRealTime();
        }
        summary.addRatio(name, baseline, std::nullopt);
    };

    addBaseline("library encode", addSizes("encode", encode, false), encodeWithLibrary, false);
    addBaseline("library decode", addSizes("decode", decode, false), decodeWithLibrary, false);

    // The temporary folder may be in memory; the build folder is on a disk.
    for (const auto& [place, parent] :
         {std::pair<std::string, path>{"temporary", std::filesystem::temp_directory_path()},
          std::pair<std::string, path>{"working", std::filesystem::current_path()}}) {
        const auto saveThere = [folder = parent](benchmark::State& state, std::size_t sets) {
            save(state, folder, sets);
        };
        const std::string name = addSizes("save in the " + place + " folder", saveThere, true);
        addBaseline(
            "bare write in the " + place + " folder", name,
            [folder = parent](benchmark::State& state) { saveBarely(state, folder); }, true);
    }
}

}  // namespace corvel::benchmarks
