/// @file
/// Files that are to be transferred, sorted into classes by their extension.
#pragma once

#include <string>

#include "tandor/api.h"

/// The class of a file.
enum ZellTransferFileType {
    ZELL_FILE_IMAGE = 0,           ///< pictures
    ZELL_FILE_VIDEO = 1,           ///< films
    ZELL_FILE_TEXT_DOCUMENT = 2,   ///< word-processor texts
    ZELL_FILE_SPREADSHEET = 3,     ///< tables
    ZELL_FILE_PRESENTATION = 4,    ///< slides
    ZELL_FILE_DIAGRAM = 5,         ///< drawings of a diagram editor
    ZELL_FILE_FIXED_LAYOUT = 6,    ///< fixed-layout and plain text
    ZELL_FILE_TRANSFER_CACHE = 7,  ///< a file that is still being transferred
    ZELL_FILE_OTHER = 8,           ///< everything that no list names, programs and archives included
};

/// Static operations without state, for any thread. Names are UTF-8, with or without a path. Only MakeCacheFileType
/// allocates; nothing else throws.
class TANDOR_API ZellFileClassifier {
public:
    /// By what stands behind the last dot, ASCII letters compared without case. No dot, nothing behind it, or an
    /// extension that is not listed: ZELL_FILE_OTHER. The dot is searched in the whole text given, directories
    /// included.
    static ZellTransferFileType GetTransferFileType(const std::string& fileName);

    /// Whether the class is ZELL_FILE_IMAGE.
    /// @{
    static bool IsImage(const std::string& fileName);
    static bool IsImage(ZellTransferFileType type);
    /// @}

    /// Whether the class is ZELL_FILE_VIDEO.
    /// @{
    static bool IsVideo(const std::string& fileName);
    static bool IsVideo(ZellTransferFileType type);
    /// @}

    /// Text documents, spreadsheets, presentations, diagrams, fixed-layout and plain text.
    /// @{
    static bool IsDocument(const std::string& fileName);
    static bool IsDocument(ZellTransferFileType type);
    /// @}

    /// Whether the class is ZELL_FILE_TRANSFER_CACHE.
    /// @{
    static bool IsTransferCacheFile(const std::string& fileName);
    static bool IsTransferCacheFile(ZellTransferFileType type);
    /// @}

    /// The name of the partial file that is kept while `fileName` is under way: ".cache" appended.
    static std::wstring MakeCacheFileType(const std::wstring& fileName);
};
