// What the program says on stderr while it works: notes about what it changed, warnings, and details for
// those who ask.
#pragma once

#include <cstdio>
#include <string>

namespace tool {

enum class Talk { silent, quiet, normal, verbose };

class Log {
public:
    explicit Log(Talk talk) : talk_(talk) {}

    void detail(const std::string& text) const { say(Talk::verbose, "", text); }
    void note(const std::string& text) const { say(Talk::normal, "", text); }
    void warn(const std::string& text) const { say(Talk::quiet, "warning: ", text); }
    Talk talk() const { return talk_; }

private:
    void say(Talk least, const char* prefix, const std::string& text) const {
        if (talk_ >= least) {
            std::fprintf(stderr, "drape: %s%s\n", prefix, text.c_str());
        }
    }

    Talk talk_;
};

} // namespace tool
