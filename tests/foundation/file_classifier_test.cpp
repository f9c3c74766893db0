#include "tandor/file_classifier.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

TEST(FileClassifier, EveryListedExtensionHasItsClass) {
    const char* const classes[] = {"bmp jpeg gif psd png tiff tga eps jpg dng",
                                   "wmv avi mpg rm rmvb asf asx 3gp flv mp4 avi mov mkv mpeg",
                                   "doc docx dot dotx docm dotm xml rtf",
                                   "xls xlsx xlsm xlt xltx xltm csv",
                                   "ppt pptx pps",
                                   "visio",
                                   "pdf txt",
                                   "cache",
                                   "none"};
    for (int type = 0; type <= 8; ++type) {
        const auto value = static_cast<ZellTransferFileType>(type);
        std::istringstream words(classes[type]);
        for (std::string word; words >> word;) {
            std::string name = "手机." + word;
            EXPECT_EQ(ZellFileClassifier::GetTransferFileType(name), type) << name;
            EXPECT_EQ(ZellFileClassifier::IsImage(name), type == 0);
            EXPECT_EQ(ZellFileClassifier::IsVideo(name), type == 1);
            EXPECT_EQ(ZellFileClassifier::IsDocument(name), type >= 2 && type <= 6);
            EXPECT_EQ(ZellFileClassifier::IsTransferCacheFile(name), type == 7);
            for (char& c : name) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
            EXPECT_EQ(ZellFileClassifier::GetTransferFileType(name), type) << name;
        }
        EXPECT_EQ(ZellFileClassifier::IsImage(value), type == 0);
        EXPECT_EQ(ZellFileClassifier::IsVideo(value), type == 1);
        EXPECT_EQ(ZellFileClassifier::IsDocument(value), type >= 2 && type <= 6);
        EXPECT_EQ(ZellFileClassifier::IsTransferCacheFile(value), type == 7);
    }
    EXPECT_EQ(ZellFileClassifier::MakeCacheFileType(L"\u624b.mp4"), L"\u624b.mp4.cache");
}

TEST(FileClassifier, EverythingElseIsOther) {
    using namespace std::string_literals;
    for (const std::string& name : {""s, "."s, "name"s, "name."s, "jpg"s, "a.jpg."s, "archive.tar.gz"s, "a.jpg/b"s,
                                    "name.extension-that-is-long"s, "name.visiox"s, "a.J\xD0\x9F"s, "a.jpg\0"s,
                                    "a.12345678"s, "a. jpg"s, "a.@mp"s})
        EXPECT_EQ(ZellFileClassifier::GetTransferFileType(name), 8) << name;
    EXPECT_EQ(ZellFileClassifier::GetTransferFileType(".jpg"), 0);
    EXPECT_EQ(ZellFileClassifier::GetTransferFileType("a.b.c.Mp4"), 1);
    EXPECT_EQ(ZellFileClassifier::GetTransferFileType(std::string(100000, 'x') + ".pdf"), 6);
}

}  // namespace
