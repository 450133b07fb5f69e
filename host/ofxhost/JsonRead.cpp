#include <cerrno>
#include <cmath>
#include <cstdlib>

#include "ofxhost/Json.h"
#include "ofxhost/Status.h"

namespace ofxhost {

namespace {

class Reader {
public:
    Reader(const std::string& text, const std::string& what) : s_(text), what_(what) {}

    Json document() {
        Json v = value(0);
        skipSpace();
        if (pos_ != s_.size()) fail("text after the value");
        return v;
    }

private:
    [[noreturn]] void fail(const std::string& why) const {
        throw Error(what_, "not valid JSON at byte " + std::to_string(pos_) + ": " + why);
    }

    void skipSpace() {
        while (pos_ < s_.size() && (s_[pos_] == ' ' || s_[pos_] == '\t' || s_[pos_] == '\n' || s_[pos_] == '\r'))
            ++pos_;
    }

    bool take(char c) {
        skipSpace();
        if (pos_ < s_.size() && s_[pos_] == c) {
            ++pos_;
            return true;
        }
        return false;
    }

    void expect(char c) {
        if (!take(c)) fail(std::string("expected '") + c + "'");
    }

    bool word(const char* w) {
        const std::string_view v(w);
        if (s_.compare(pos_, v.size(), v) != 0) return false;
        pos_ += v.size();
        return true;
    }

    Json value(int depth) {
        if (depth > 64) fail("nested too deeply");
        skipSpace();
        if (pos_ >= s_.size()) fail("unexpected end");
        const char c = s_[pos_];
        if (c == '{') return object(depth);
        if (c == '[') return array(depth);
        if (c == '"') return Json(string());
        if (word("true")) return Json(true);
        if (word("false")) return Json(false);
        if (word("null")) return Json();
        return Json(number());
    }

    Json object(int depth) {
        ++pos_;
        Json o = Json::object();
        if (take('}')) return o;
        do {
            skipSpace();
            if (pos_ >= s_.size() || s_[pos_] != '"') fail("expected a member name");
            std::string key = string();
            expect(':');
            o.set(std::move(key), value(depth + 1));
        } while (take(','));
        expect('}');
        return o;
    }

    Json array(int depth) {
        ++pos_;
        Json a = Json::array();
        if (take(']')) return a;
        do a.push(value(depth + 1));
        while (take(','));
        expect(']');
        return a;
    }

    double number() {
        // The JSON grammar: -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
        const std::size_t start = pos_;
        const auto digits = [&] {
            const std::size_t from = pos_;
            while (pos_ < s_.size() && s_[pos_] >= '0' && s_[pos_] <= '9') ++pos_;
            return pos_ > from;
        };
        if (pos_ < s_.size() && s_[pos_] == '-') ++pos_;
        if (pos_ < s_.size() && s_[pos_] == '0')
            ++pos_;
        else if (!digits())
            fail("expected a value");
        if (pos_ < s_.size() && s_[pos_] == '.' && (++pos_, !digits())) fail("expected digits after '.'");
        if (pos_ < s_.size() && (s_[pos_] == 'e' || s_[pos_] == 'E')) {
            ++pos_;
            if (pos_ < s_.size() && (s_[pos_] == '+' || s_[pos_] == '-')) ++pos_;
            if (!digits()) fail("expected an exponent");
        }
        const std::string text = s_.substr(start, pos_ - start);
        errno = 0;
        const double v = std::strtod(text.c_str(), nullptr);
        if (errno == ERANGE && std::isinf(v)) fail("number out of range");
        return v;
    }

    unsigned hex4() {
        if (pos_ + 4 > s_.size()) fail("short \\u escape");
        unsigned v = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = s_[pos_++];
            v <<= 4;
            if (c >= '0' && c <= '9')
                v |= unsigned(c - '0');
            else if (c >= 'a' && c <= 'f')
                v |= unsigned(c - 'a' + 10);
            else if (c >= 'A' && c <= 'F')
                v |= unsigned(c - 'A' + 10);
            else
                fail("bad \\u escape");
        }
        return v;
    }

    void utf8(std::string& out, unsigned cp) {
        if (cp < 0x80) {
            out += char(cp);
        } else if (cp < 0x800) {
            out += char(0xC0 | (cp >> 6));
            out += char(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += char(0xE0 | (cp >> 12));
            out += char(0x80 | ((cp >> 6) & 0x3F));
            out += char(0x80 | (cp & 0x3F));
        } else {
            out += char(0xF0 | (cp >> 18));
            out += char(0x80 | ((cp >> 12) & 0x3F));
            out += char(0x80 | ((cp >> 6) & 0x3F));
            out += char(0x80 | (cp & 0x3F));
        }
    }

    std::string string() {
        ++pos_;
        std::string out;
        while (true) {
            if (pos_ >= s_.size()) fail("unterminated string");
            const char c = s_[pos_++];
            if (c == '"') return out;
            if (static_cast<unsigned char>(c) < 0x20) fail("control character in a string");
            if (c != '\\') {
                out += c;
                continue;
            }
            if (pos_ >= s_.size()) fail("unterminated string");
            switch (const char e = s_[pos_++]) {
                case '"':
                case '\\':
                case '/': out += e; break;
                case 'b': out += '\b'; break;
                case 'f': out += '\f'; break;
                case 'n': out += '\n'; break;
                case 'r': out += '\r'; break;
                case 't': out += '\t'; break;
                case 'u': {
                    unsigned cp = hex4();
                    if (cp >= 0xD800 && cp < 0xDC00) {
                        if (!word("\\u")) fail("lone surrogate");
                        const unsigned low = hex4();
                        if (low < 0xDC00 || low > 0xDFFF) fail("lone surrogate");
                        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                    } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
                        fail("lone surrogate");
                    }
                    utf8(out, cp);
                    break;
                }
                default: fail("bad escape");
            }
        }
    }

    const std::string& s_;
    const std::string& what_;
    std::size_t pos_ = 0;
};

}  // namespace

Json Json::parse(const std::string& text, const std::string& what) { return Reader(text, what).document(); }

const Json::Array& Json::items() const {
    static const Array none;
    const Array* a = std::get_if<Array>(&v_);
    return a ? *a : none;
}

const Json* Json::find(std::string_view key) const {
    if (const Object* o = std::get_if<Object>(&v_))
        for (const auto& [k, v] : *o)
            if (k == key) return &v;
    return nullptr;
}

}  // namespace ofxhost
