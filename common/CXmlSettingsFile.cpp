#include "common/CXmlSettingsFile.h"

#include "common/CAtomicFileWriter.h"
#include "common/FileUtil.h"

#include <cstdint>
#include <cstring>
#include <tinyxml.h>

namespace KELCTRL {

struct CXmlSettingsFile::Impl {
    TiXmlDocument doc;
};

CXmlSettingsFile::CXmlSettingsFile() : m_impl(std::make_unique<Impl>()) {}
CXmlSettingsFile::~CXmlSettingsFile() = default;

int XmlNestingBound(std::string_view text) {
    // Every "<" that opens something other than a closing tag, comment, declaration or processing
    // instruction counts one level down; "</" and "/>" count one up. Text inside comments and CDATA
    // may inflate the count, which only makes the bound safer.
    int depth = 0;
    int deepest = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '<') {
            const char next = i + 1 < text.size() ? text[i + 1] : '\0';
            if (next == '/') {
                depth = depth > 0 ? depth - 1 : 0;
            } else if (next != '!' && next != '?') {
                ++depth;
                deepest = depth > deepest ? depth : deepest;
            }
        } else if (text[i] == '/' && i + 1 < text.size() && text[i + 1] == '>') {
            depth = depth > 0 ? depth - 1 : 0;
        }
    }
    return deepest;
}

namespace {

// Length of the valid UTF-8 sequence at text[i], or 0 when it is broken, overlong or a surrogate.
size_t Utf8SequenceLength(std::string_view text, size_t i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x80)
        return 1;
    size_t extra = 0;
    uint32_t cp = 0;
    if ((c & 0xE0) == 0xC0)
        extra = 1, cp = c & 0x1F;
    else if ((c & 0xF0) == 0xE0)
        extra = 2, cp = c & 0x0F;
    else if ((c & 0xF8) == 0xF0)
        extra = 3, cp = c & 0x07;
    else
        return 0;
    if (i + extra >= text.size())
        return 0;
    for (size_t k = 1; k <= extra; ++k) {
        const auto b = static_cast<unsigned char>(text[i + k]);
        if ((b & 0xC0) != 0x80)
            return 0;
        cp = (cp << 6) | (b & 0x3F);
    }
    static const uint32_t kMin[] = {0, 0x80, 0x800, 0x10000};
    if (cp < kMin[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return 0;
    return extra + 1;
}

// TinyXML steps over a multi-byte sequence by its lead byte alone, so a broken sequence at the end
// would carry it past the terminating NUL. Every byte that is not part of valid UTF-8 becomes '?':
// a file from an old edition in a legacy code page still reads, with those letters lost.
std::string RepairedUtf8(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        const size_t n = Utf8SequenceLength(text, i);
        if (n == 0) {
            out.push_back('?');
            ++i;
        } else {
            out.append(text.substr(i, n));
            i += n;
        }
    }
    return out;
}

} // namespace

int CXmlSettingsFile::Parse(std::string_view text, const char* rootName) {
    m_impl->doc = TiXmlDocument();
    m_error.clear();
    // TinyXML wants a terminated string; an embedded NUL ends the text, as it would in a file reader.
    text = text.substr(0, text.empty() ? 0 : strnlen(text.data(), text.size()));
    if (XmlNestingBound(text) > kMaxDepth) {
        m_error = "XML nested too deeply";
        return 0;
    }
    const std::string copy = RepairedUtf8(text);
    // By default the parser folds runs of blanks and trims texts: a file-name prefix "Copy of " would
    // come back as "Copy of". Every setting is read exactly as written.
    TiXmlBase::SetCondenseWhiteSpace(false);
    TiXmlDocument doc;
    doc.Parse(copy.c_str(), nullptr, TIXML_ENCODING_UTF8);
    if (doc.Error()) {
        m_error = std::string("Malformed XML: ") + (doc.ErrorDesc() ? doc.ErrorDesc() : "");
        return 0;
    }
    const TiXmlElement* root = doc.RootElement();
    if (root == nullptr || rootName == nullptr || root->ValueStr() != rootName) {
        m_error = std::string("Root element is not \"") + (rootName ? rootName : "") + "\"";
        return 0;
    }
    m_impl->doc = doc;
    return 1;
}

int CXmlSettingsFile::Load(const std::filesystem::path& path, const char* rootName, int form) {
    m_impl->doc = TiXmlDocument();
    if (form != SETTINGS_FORM_PLAIN) {
        m_error = "The enciphered form is not available";
        return 0;
    }
    std::string bytes;
    if (!ReadSmallFile(path, bytes, kMaxFileBytes)) {
        m_error = "Cannot read \"" + path.string() + "\"";
        return 0;
    }
    return Parse(bytes, rootName);
}

int CXmlSettingsFile::LoadEitherForm(const std::filesystem::path& path, const char* rootName,
                                     int productForm) {
    if (Load(path, rootName, productForm))
        return 1;
    const std::string first = m_error;
    const int other = productForm == SETTINGS_FORM_PLAIN ? SETTINGS_FORM_ENCIPHERED : SETTINGS_FORM_PLAIN;
    if (Load(path, rootName, other))
        return 1;
    m_error = first + "; " + m_error;
    return 0;
}

TiXmlElement* CXmlSettingsFile::CreateRoot(const char* rootName) {
    m_impl->doc = TiXmlDocument();
    m_error.clear();
    m_impl->doc.InsertEndChild(TiXmlDeclaration("1.0", "UTF-8", ""));
    m_impl->doc.InsertEndChild(TiXmlElement(rootName));
    return m_impl->doc.RootElement();
}

TiXmlElement* CXmlSettingsFile::Root() const {
    return m_impl->doc.RootElement();
}

std::string CXmlSettingsFile::Print() const {
    TiXmlPrinter printer;
    printer.SetIndent("  ");
    m_impl->doc.Accept(&printer);
    return printer.Str();
}

int CXmlSettingsFile::Save(const std::filesystem::path& path, int /*form*/) {
    // Only the plain form exists here; it is what every edition can read back.
    if (Root() == nullptr) {
        m_error = "Empty document";
        return 0;
    }
    m_error.clear();
    return CAtomicFileWriter::WriteWhole(path, Print(), &m_error);
}

} // namespace KELCTRL
