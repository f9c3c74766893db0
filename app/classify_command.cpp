#include <array>

#include "app/commands.h"
#include "tandor/file_classifier.h"

namespace tandor::app {
namespace {

namespace fs = std::filesystem;

constexpr std::array kClasses{"image",   "video",        "text document", "spreadsheet", "presentation",
                              "diagram", "fixed layout", "cache",         "other"};

struct Options {
    std::vector<std::string> paths;
    bool recursive = false;
    bool summary = false;
};

class Classified {
public:
    explicit Classified(bool summary) : summary_(summary) {}

    void Add(const fs::path& file) {
        const std::string name = TextOf(file);
        const auto type = static_cast<std::size_t>(ZellFileClassifier::GetTransferFileType(name));
        ++counts_[type];
        if (!summary_) files_.emplace_back(name, type);
    }

    void Show(const Context& context) const {
        std::vector<std::vector<std::string>> rows{{summary_ ? "FILES" : "CLASS", summary_ ? "CLASS" : "FILE"}};
        Json counts = Json::object();
        for (std::size_t type = 0; type < kClasses.size(); ++type) {
            if (counts_[type] == 0) continue;
            counts[kClasses[type]] = counts_[type];
            if (summary_) rows.push_back({std::to_string(counts_[type]), kClasses[type]});
        }
        Json files = Json::array();
        for (const auto& [name, type] : files_) {
            rows.push_back({kClasses[type], name});
            files.push_back({{"file", name}, {"class", kClasses[type]}, {"value", type}});
        }
        if (!context.json) return PrintTable(rows);
        summary_ ? PrintJson({{"counts", counts}}) : PrintJson({{"counts", counts}, {"files", files}});
    }

private:
    bool summary_;
    std::array<std::size_t, kClasses.size()> counts_{};
    std::vector<std::pair<std::string, std::size_t>> files_;
};

template <class Iterator>
void AddFolder(const fs::path& folder, Classified& classified) {
    Progress progress("reading " + TextOf(folder));
    std::error_code error;
    Iterator entry(folder, fs::directory_options::skip_permission_denied, error);
    for (std::uint64_t files = 0; !error && entry != Iterator(); entry.increment(error)) {
        if (entry->is_regular_file(error)) {
            classified.Add(entry->path());
            progress.Count(++files, "files");
        }
        error.clear();
    }
    if (error) throw CommandError(TextOf(folder), error.message(), "check that you may read the folder");
}

void Classify(const Context& context, const Options& options) {
    Classified classified(options.summary);
    for (const std::string& argument : options.paths) {
        const fs::path path = PathFrom(argument);
        std::error_code error;
        if (!fs::is_directory(path, error)) {
            classified.Add(path);  // a name is enough: the file need not exist
        } else if (options.recursive) {
            AddFolder<fs::recursive_directory_iterator>(path, classified);
        } else {
            AddFolder<fs::directory_iterator>(path, classified);
        }
    }
    classified.Show(context);
}

}  // namespace

void AddClassifyCommand(CLI::App& app, Context& context) {
    CLI::App* const classify = app.add_subcommand("classify", "Sort files into transfer classes by their extension");
    const auto options = std::make_shared<Options>();
    CLI::Option* const paths =
        classify->add_option("PATH", options->paths, "File names, or folders whose files are meant")->check(NotEmpty());
    const auto input = std::make_shared<FileInput>(
        *classify, std::vector{paths}, "Take the names in the lines of this file instead; - is standard input");
    classify->add_flag("-r,--recursive", options->recursive, "Folders with everything below them");
    classify->add_flag("-s,--summary", options->summary, "Only how many files each class has");
    classify->footer(
        "Example:\n  tandorctl classify photo.JPG film.mkv\n  tandorctl classify --recursive --summary C:\\Users");
    classify->callback([options, input, &context] {
        if (input->IsGiven()) options->paths = input->Lines();
        Classify(context, *options);
    });
}

}  // namespace tandor::app
