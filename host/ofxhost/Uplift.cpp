#include "ofxhost/Uplift.h"

#include <cstring>
#include <fstream>
#include <sstream>

#include "ofxhost/Json.h"
#include "ofxhost/Status.h"

namespace ofxhost {

namespace {

std::vector<unsigned char> fromHex(const std::string& hex, const std::string& what) {
    const auto nibble = [&](char c) -> unsigned {
        if (c >= '0' && c <= '9') return unsigned(c - '0');
        if (c >= 'a' && c <= 'f') return unsigned(c - 'a' + 10);
        if (c >= 'A' && c <= 'F') return unsigned(c - 'A' + 10);
        throw Error(what, "\"hex\" holds '" + std::string(1, c) + "', not a hex digit");
    };
    if (hex.size() % 2) throw Error(what, "\"hex\" has an odd number of digits");
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(nibble(hex[i]) << 4 | nibble(hex[i + 1])));
    return bytes;
}

std::vector<unsigned char> recordOf(const Json& j, const std::string& what) {
    const Json* doubles = j.find("doubles");
    const Json* hex = j.find("hex");
    if (doubles && hex) throw Error(what, "gives both \"doubles\" and \"hex\"");
    std::vector<unsigned char> bytes;
    if (doubles) {
        if (!doubles->isArray()) throw Error(what, "\"doubles\" is not a list of numbers");
        for (const Json& d : doubles->items()) {
            if (!d.number()) throw Error(what, "\"doubles\" is not a list of numbers");
            unsigned char b[sizeof(double)];
            std::memcpy(b, d.number(), sizeof b);
            bytes.insert(bytes.end(), b, b + sizeof b);
        }
    } else if (hex) {
        if (!hex->string()) throw Error(what, "\"hex\" is not a string");
        bytes = fromHex(*hex->string(), what);
    }
    return bytes;
}

}  // namespace

UpliftData parseUplift(const std::string& text, const std::string& what) {
    const Json doc = Json::parse(text, what);
    const Json* keys = doc.find("keys");
    if (!keys || !keys->isArray()) throw Error(what, "has no \"keys\" list");
    UpliftData data;
    for (std::size_t i = 0; i < keys->items().size(); ++i) {
        const Json& k = keys->items()[i];
        const std::string where = what + " key " + std::to_string(i);
        if (!k.isObject()) throw Error(where, "is not an object");
        UpliftKey key;
        const Json* time = k.find("time");
        if (!time || !time->number()) throw Error(where, "has no \"time\" number");
        key.time = *time->number();
        if (const Json* interp = k.find("interpolation")) {
            if (!interp->string()) throw Error(where, "\"interpolation\" is not a string");
            key.interpolation = *interp->string();
        }
        key.record = recordOf(k, where);
        data.keys.push_back(std::move(key));
    }
    if (const Json* state = doc.find("state")) {
        if (!state->isObject()) throw Error(what + " state", "is not an object");
        data.state = recordOf(*state, what + " state");
    }
    return data;
}

UpliftData readUpliftFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Error(path, "cannot be read");
    std::ostringstream text;
    text << in.rdbuf();
    return parseUplift(text.str(), path);
}

}  // namespace ofxhost
