/// @file
/// The file utility's XML reader: a document loaded at once, and light handles on its elements.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "pelora/api.h"

/// An element of a VxXMLDocument, or none. A handle owns nothing: it and all views it gives live as long as the
/// document and until that is loaded anew. Every operation on a null element is allowed and gives a null element or an
/// empty text.
///
/// Threads: any number may read one document.
class PELORA_API VxXmlElement {
public:
    VxXmlElement() noexcept = default;

    /// Whether this stands for no element.
    [[nodiscard]] bool IsElementNull() const noexcept { return node_ == nullptr; }
    /// The first child element of this name; without a name, the first child element.
    [[nodiscard]] VxXmlElement FirstNode(const char* name = nullptr) const noexcept;
    /// The next element of this name below the same parent; without a name, the next element.
    [[nodiscard]] VxXmlElement NextSiblingElement(const char* name = nullptr) const noexcept;

    /// The element's own text (its first text, comments passed over) without the white space around it, as UTF-8.
    [[nodiscard]] std::string_view Value() const noexcept;
    /// The element's name as UTF-8; empty for a null element.
    [[nodiscard]] const char* Name() const noexcept;
    /// The line of the file on which the element begins, from 1; 0 for a null element.
    [[nodiscard]] int Line() const noexcept;

private:
    friend class VxXMLDocument;
    explicit VxXmlElement(const void* node) noexcept : node_(node) {}
    const void* node_ = nullptr;
};

/// An XML document in UTF-8. At most kLargestFile bytes and 100 levels of elements are accepted; what is beyond is
/// refused before it costs memory or stack.
///
/// Threads: loading belongs to one thread; a loaded document may be read by any number. Throws std::bad_alloc alone.
class PELORA_API VxXMLDocument {
public:
    static constexpr std::size_t kLargestFile = std::size_t{4} << 20;  ///< bytes: 4 MiB

    /// Why a document could not be loaded.
    enum class Failure {
        kNone,        ///< it was loaded, or nothing was tried yet
        kMissing,     ///< there is no such file
        kUnreadable,  ///< it cannot be opened or read
        kTooLarge,    ///< more than kLargestFile bytes
        kMalformed,   ///< not an XML document; ErrorLine says where
    };

    /// An empty document.
    VxXMLDocument();
    ~VxXMLDocument();
    VxXMLDocument(const VxXMLDocument&) = delete;
    VxXMLDocument& operator=(const VxXMLDocument&) = delete;

    /// Replaces the document, by a file or by text. False: the document is empty, and the functions below say why.
    /// @{
    [[nodiscard]] bool LoadFile(const std::wstring& path);
    [[nodiscard]] bool Parse(std::string_view text);
    /// @}

    /// What came of the last loading.
    [[nodiscard]] Failure LastFailure() const noexcept;
    /// The cause in words, without the file's name; empty after success.
    [[nodiscard]] std::string ErrorText() const;
    /// The line of the file that is malformed, from 1; 0 when the failure has none.
    [[nodiscard]] int ErrorLine() const noexcept;

    /// Null for an empty document.
    [[nodiscard]] VxXmlElement RootElement() const noexcept;

private:
    struct Impl;
    Impl* impl_;
};
