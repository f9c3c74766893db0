// The class of a name is that of the first row with its extension, found by walking them; the predicates follow it.
#include <cctype>

#include "fuzzers/property.h"
#include "tandor/file_classifier.h"

namespace {

constexpr const char* kRows[] = {
    " bmp jpeg gif psd png tiff tga eps jpg dng ",
    " wmv avi mpg rm rmvb asf asx 3gp flv mp4 avi mov mkv mpeg ",
    " doc docx dot dotx docm dotm xml rtf ",
    " xls xlsx xlsm xlt xltx xltm csv ",
    " ppt pptx pps ",
    " visio ",
    " pdf txt ",
    " cache ",
};

int Model(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    std::string extension = dot == std::string::npos ? std::string() : name.substr(dot + 1);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (extension.empty() || extension.find(' ') != std::string::npos) return ZELL_FILE_OTHER;
    int row = 0;
    for (const char* const extensions : kRows) {
        if (std::string(extensions).find(" " + extension + " ") != std::string::npos) return row;
        ++row;
    }
    return ZELL_FILE_OTHER;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string name = tandor::fuzz::Text(data, size);
    const ZellTransferFileType type = ZellFileClassifier::GetTransferFileType(name);
    TANDOR_HOLDS(type == Model(name));
    TANDOR_HOLDS(ZellFileClassifier::IsImage(name) == (type == ZELL_FILE_IMAGE));
    TANDOR_HOLDS(ZellFileClassifier::IsVideo(name) == (type == ZELL_FILE_VIDEO));
    TANDOR_HOLDS(ZellFileClassifier::IsTransferCacheFile(name) == (type == ZELL_FILE_TRANSFER_CACHE));
    TANDOR_HOLDS(ZellFileClassifier::IsDocument(name) ==
                 (type >= ZELL_FILE_TEXT_DOCUMENT && type <= ZELL_FILE_FIXED_LAYOUT));
    return 0;
}
