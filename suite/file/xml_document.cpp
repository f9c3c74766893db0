#include <tinyxml2.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "base/trim.h"
#include "pelora/xml.h"

namespace {

const tinyxml2::XMLElement* Element(const void* node) noexcept {
    return static_cast<const tinyxml2::XMLElement*>(node);
}

std::FILE* Open(const std::wstring& path) {
#if defined(_WIN32)
    return ::_wfopen(path.c_str(), L"rb");
#else
    return std::fopen(std::filesystem::path(path).c_str(), "rb");
#endif
}

struct Content {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
};

// The file's first bytes, up to `limit`. Files are small as a rule: one call reads one. False when it cannot be read.
bool ReadUpTo(std::size_t limit, std::FILE* file, Content& content) {
    std::setvbuf(file, nullptr, _IONBF, 0);
    for (std::size_t room = std::size_t{1} << 15;; room *= 8) {
        room = std::min(room, limit);
        auto larger = std::make_unique_for_overwrite<char[]>(room);
        std::copy_n(content.bytes.get(), content.size, larger.get());
        content.bytes = std::move(larger);
        content.size += std::fread(content.bytes.get() + content.size, 1, room - content.size, file);
        if (content.size < room || room == limit) return std::ferror(file) == 0;
    }
}

}  // namespace

VxXmlElement VxXmlElement::FirstNode(const char* name) const noexcept {
    return VxXmlElement(node_ == nullptr ? nullptr : Element(node_)->FirstChildElement(name));
}

VxXmlElement VxXmlElement::NextSiblingElement(const char* name) const noexcept {
    return VxXmlElement(node_ == nullptr ? nullptr : Element(node_)->NextSiblingElement(name));
}

std::string_view VxXmlElement::Value() const noexcept {
    if (node_ == nullptr) return {};
    const tinyxml2::XMLNode* child = Element(node_)->FirstChild();
    while (child != nullptr && child->ToText() == nullptr) child = child->NextSibling();
    return child == nullptr ? std::string_view() : tandor::Trimmed<char>(child->Value());
}

const char* VxXmlElement::Name() const noexcept { return node_ == nullptr ? "" : Element(node_)->Name(); }

int VxXmlElement::Line() const noexcept { return node_ == nullptr ? 0 : Element(node_)->GetLineNum(); }

struct VxXMLDocument::Impl {
    tinyxml2::XMLDocument document;
    Failure failure = Failure::kNone;
    std::string cause;
    int line = 0;

    bool Fail(Failure why, std::string text, int where = 0) {
        document.Clear();
        failure = why;
        cause = std::move(text);
        line = where;
        return false;
    }
};

// Exported as well: a caller that takes it by reference asks the library for it.
constexpr std::size_t VxXMLDocument::kLargestFile;

VxXMLDocument::VxXMLDocument() : impl_(new Impl) {}

VxXMLDocument::~VxXMLDocument() { delete impl_; }

bool VxXMLDocument::LoadFile(const std::wstring& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(Open(path), &std::fclose);
    if (!file) {
        return errno == ENOENT ? impl_->Fail(Failure::kMissing, "the file does not exist")
                               : impl_->Fail(Failure::kUnreadable, "the file cannot be opened");
    }
    Content content;
    if (!ReadUpTo(kLargestFile + 1, file.get(), content))  // which tells a file that is too large, whatever its size is
        return impl_->Fail(Failure::kUnreadable, "the file cannot be read");
    return Parse({content.bytes.get(), content.size});
}

bool VxXMLDocument::Parse(std::string_view text) {
    if (text.size() > kLargestFile)
        return impl_->Fail(Failure::kTooLarge, "it has more than " + std::to_string(kLargestFile) + " bytes");
    if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos) {
        // The parser would take it for the end and drop the rest without a word.
        return impl_->Fail(Failure::kMalformed, "the text holds a zero byte, so it is not XML in UTF-8");
    }
    impl_->failure = Failure::kNone;
    impl_->cause.clear();
    impl_->line = 0;
    const tinyxml2::XMLError error = impl_->document.Parse(text.data(), text.size());
    if (error != tinyxml2::XML_SUCCESS) {
        const std::string cause =
            error == tinyxml2::XML_ERROR_EMPTY_DOCUMENT ? "the document is empty"
            : error == tinyxml2::XML_ELEMENT_DEPTH_EXCEEDED
                ? "the elements are nested too deeply"
                : std::string("not well-formed (") + tinyxml2::XMLDocument::ErrorIDToName(error) + ")";
        return impl_->Fail(Failure::kMalformed, cause, impl_->document.ErrorLineNum());
    }
    if (impl_->document.RootElement() == nullptr)
        return impl_->Fail(Failure::kMalformed, "the document has no element");
    return true;
}

VxXMLDocument::Failure VxXMLDocument::LastFailure() const noexcept { return impl_->failure; }

std::string VxXMLDocument::ErrorText() const { return impl_->cause; }

int VxXMLDocument::ErrorLine() const noexcept { return impl_->line; }

VxXmlElement VxXMLDocument::RootElement() const noexcept { return VxXmlElement(impl_->document.RootElement()); }
