#include "tandor/file_classifier.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

TEST(FileClassifier, EveryListedExtensionHasItsClass) {
    const std::pair<int, const char*> rows[] = {{0, "bmp jpeg gif psd png tiff tga eps jpg dng"},
                                                {1, "wmv avi mpg rm rmvb asf asx 3gp flv mp4 avi mov mkv mpeg"},
                                                {2, "doc docx dot dotx docm dotm xml rtf"},
                                                {3, "xls xlsx xlsm xlt xltx xltm csv"},
                                                {4, "ppt pptx pps"},
                                                {5, "visio"},
                                                {6, "pdf txt"},
                                                {7, "cache"}};
    for (const auto& [row, extensions] : rows) {
        std::istringstream words(extensions);
        for (std::string word; words >> word;) {
            std::string upper;
            for (const char c : word) upper += static_cast<char>(std::toupper(c));
            EXPECT_EQ(ZellFileClassifier::GetTransferFileType("name." + word), row) << word;
            EXPECT_EQ(ZellFileClassifier::GetTransferFileType("手机." + upper), row) << upper;
            EXPECT_EQ(ZellFileClassifier::GetTransferFileType(word), 8) << word;
            EXPECT_EQ(ZellFileClassifier::GetTransferFileType("name." + word + "x1"), 8) << word;
        }
    }
}

TEST(FileClassifier, EverythingElseIsOther) {
    using namespace std::string_literals;
    for (const std::string& name :
         {""s, "."s, "name"s, "name."s, "a.jpg."s, "archive.tar.gz"s, "a.jpg/b"s, "name.extension-that-is-long"s,
          "name.visiox"s, "a.J\xD0\x9F"s, "a.jpg\0"s, "a.12345678"s, "a. jpg"s, "a.@mp"s})
        EXPECT_EQ(ZellFileClassifier::GetTransferFileType(name), 8) << name;
    EXPECT_EQ(ZellFileClassifier::GetTransferFileType(".jpg"), 0);
    EXPECT_EQ(ZellFileClassifier::GetTransferFileType("a.b.c.Mp4"), 1);
    EXPECT_EQ(ZellFileClassifier::GetTransferFileType(std::string(100000, 'x') + ".pdf"), 6);
}

TEST(FileClassifier, QuestionsAgreeForNamesAndTypes) {
    const char* const names[] = {"a.jpg", "a.mkv", "a.rtf", "a.csv", "a.pps", "a.visio", "a.txt", "a.cache", "a"};
    for (int type = 0; type <= 8; ++type) {
        const std::string name = names[type];
        const auto value = static_cast<ZellTransferFileType>(type);
        EXPECT_EQ(ZellFileClassifier::GetTransferFileType(name), value);
        EXPECT_EQ(ZellFileClassifier::IsImage(name), type == 0);
        EXPECT_EQ(ZellFileClassifier::IsVideo(name), type == 1);
        EXPECT_EQ(ZellFileClassifier::IsDocument(name), type >= 2 && type <= 6);
        EXPECT_EQ(ZellFileClassifier::IsTransferCacheFile(name), type == 7);
        EXPECT_EQ(ZellFileClassifier::IsImage(value), type == 0);
        EXPECT_EQ(ZellFileClassifier::IsVideo(value), type == 1);
        EXPECT_EQ(ZellFileClassifier::IsDocument(value), type >= 2 && type <= 6);
        EXPECT_EQ(ZellFileClassifier::IsTransferCacheFile(value), type == 7);
    }
    EXPECT_EQ(ZellFileClassifier::MakeCacheFileType(L"\u624b.mp4"), L"\u624b.mp4.cache");
}

}  // namespace
