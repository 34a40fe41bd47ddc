#include "providers/openssl/distinguished_name.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvanti::provider {
namespace {

std::string print(const X509_NAME* name, unsigned long flags) {
    const BioPtr out(BIO_new(BIO_s_mem()));
    if (out == nullptr || X509_NAME_print_ex(out.get(), name, 0, flags) < 0)
        return {};
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

int hexValue(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    const int letter = std::tolower(static_cast<unsigned char>(digit));
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

std::optional<char> hexPair(std::string_view text, std::size_t at) {
    if (at + 1 >= text.size())
        return std::nullopt;
    const int high = hexValue(text[at]);
    const int low = hexValue(text[at + 1]);
    if (high < 0 || low < 0)
        return std::nullopt;
    return static_cast<char>(high * 16 + low);
}

struct Attribute {
    std::string type;
    std::string value;
    bool isEncoded = false;      // value is the DER encoding of the attribute's value
    bool joinsPrevious = false;  // "+": belongs to the same relative name as the attribute before it
};

// Reads "TYPE=VALUE" pairs from left to right.
class NameReader {
public:
    explicit NameReader(std::string_view text) : text_(text) {}

    std::optional<std::vector<Attribute>> read() {
        std::vector<Attribute> attributes;
        skipBlanks();
        bool joins = false;
        while (true) {
            Attribute attribute;
            attribute.joinsPrevious = joins;
            if (!readType(attribute) || !readValue(attribute))
                return std::nullopt;
            attributes.push_back(std::move(attribute));
            if (at_ == text_.size())
                return attributes;
            joins = text_[at_++] == '+';
            skipBlanks();
        }
    }

private:
    bool atSeparator() const { return text_[at_] == ',' || text_[at_] == ';' || text_[at_] == '+'; }

    void skipBlanks() {
        while (at_ < text_.size() && text_[at_] == ' ')
            ++at_;
    }

    bool readType(Attribute& attribute) {
        const std::size_t equals = text_.find('=', at_);
        if (equals == std::string_view::npos)
            return false;
        attribute.type = text_.substr(at_, equals - at_);
        while (!attribute.type.empty() && attribute.type.back() == ' ')
            attribute.type.pop_back();
        at_ = equals + 1;
        skipBlanks();
        return !attribute.type.empty();
    }

    bool readValue(Attribute& attribute) {
        if (at_ < text_.size() && text_[at_] == '#')
            return readEncoded(attribute);
        if (at_ < text_.size() && text_[at_] == '"')
            return readQuoted(attribute);
        std::size_t lastEscaped = 0;
        while (at_ < text_.size() && !atSeparator()) {
            const bool escaped = text_[at_] == '\\';
            if (text_[at_] == '"' || text_[at_] == '<' || text_[at_] == '>' || !readCharacter(attribute.value))
                return false;
            if (escaped)
                lastEscaped = attribute.value.size();
        }
        while (attribute.value.size() > lastEscaped && attribute.value.back() == ' ')
            attribute.value.pop_back();
        return !attribute.value.empty();
    }

    bool readCharacter(std::string& value) {
        if (text_[at_] != '\\') {
            value.push_back(text_[at_++]);
            return true;
        }
        if (const auto byte = hexPair(text_, at_ + 1)) {
            value.push_back(*byte);
            at_ += 3;
            return true;
        }
        constexpr std::string_view escapable = " \"#+,;<=>\\";
        if (at_ + 1 >= text_.size() || escapable.find(text_[at_ + 1]) == std::string_view::npos)
            return false;
        value.push_back(text_[at_ + 1]);
        at_ += 2;
        return true;
    }

    bool readQuoted(Attribute& attribute) {
        ++at_;
        while (at_ < text_.size() && text_[at_] != '"') {
            if (!readCharacter(attribute.value))
                return false;
        }
        if (at_ == text_.size())
            return false;
        ++at_;
        skipBlanks();
        return (at_ == text_.size() || atSeparator()) && !attribute.value.empty();
    }

    bool readEncoded(Attribute& attribute) {
        attribute.isEncoded = true;
        ++at_;
        while (const auto byte = hexPair(text_, at_)) {
            attribute.value.push_back(*byte);
            at_ += 2;
        }
        skipBlanks();
        return (at_ == text_.size() || atSeparator()) && !attribute.value.empty();
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

using ObjectPtr = std::unique_ptr<ASN1_OBJECT, OpensslDeleter<ASN1_OBJECT_free>>;
using TypePtr = std::unique_ptr<ASN1_TYPE, OpensslDeleter<ASN1_TYPE_free>>;

// Attribute types are compared without regard to case; the toolkit's table knows three ways to write them.
ObjectPtr attributeType(std::string type) {
    if (type.size() > 4 && (type.compare(0, 4, "OID.") == 0 || type.compare(0, 4, "oid.") == 0))
        return ObjectPtr(OBJ_txt2obj(type.c_str() + 4, 1));
    ObjectPtr object(OBJ_txt2obj(type.c_str(), 0));
    for (const auto change : {static_cast<int (*)(int)>(std::toupper), static_cast<int (*)(int)>(std::tolower)}) {
        if (object != nullptr)
            break;
        for (char& letter : type)
            letter = static_cast<char>(change(static_cast<unsigned char>(letter)));
        object.reset(OBJ_txt2obj(type.c_str(), 0));
    }
    return object;
}

bool add(X509_NAME* name, const Attribute& attribute, int set) {
    const ObjectPtr type = attributeType(attribute.type);
    if (type == nullptr)
        return false;
    const auto* value = reinterpret_cast<const unsigned char*>(attribute.value.data());
    const int length = static_cast<int>(attribute.value.size());
    if (!attribute.isEncoded)
        return X509_NAME_add_entry_by_OBJ(name, type.get(), MBSTRING_UTF8, value, length, 0, set) == 1;
    const unsigned char* position = value;
    const TypePtr decoded(d2i_ASN1_TYPE(nullptr, &position, length));
    if (decoded == nullptr || position != value + length || decoded->type == V_ASN1_BOOLEAN ||
        decoded->type == V_ASN1_NULL || decoded->type == V_ASN1_OBJECT)
        return false;
    const ASN1_STRING* text = decoded->value.asn1_string;
    return X509_NAME_add_entry_by_OBJ(name, type.get(), decoded->type, ASN1_STRING_get0_data(text),
                                      ASN1_STRING_length(text), 0, set) == 1;
}

}  // namespace

std::string nameText(const X509_NAME* name) {
    constexpr unsigned long utf8 = XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
    // A part that claims to be UTF-8 and is not makes the first form fail; its bytes come out escaped then.
    constexpr unsigned long escaped = XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_UTF8_CONVERT);
    std::string text = print(name, utf8);
    if (text.empty() && X509_NAME_entry_count(name) > 0)
        text = print(name, escaped);
    return text;
}

X509NamePtr parseName(std::string_view text) {
    X509NamePtr name(X509_NAME_new());
    if (name == nullptr || text.find_first_not_of(' ') == std::string_view::npos)
        return name;
    const auto attributes = NameReader(text).read();
    if (!attributes)
        return nullptr;
    // The text runs from the last relative name to the first. Added in front, each opens a new one (set 0) or joins
    // the one that is in front now (set 1).
    for (const Attribute& attribute : *attributes) {
        if (!add(name.get(), attribute, attribute.joinsPrevious ? 1 : 0))
            return nullptr;
    }
    return name;
}

}  // namespace quorvanti::provider
