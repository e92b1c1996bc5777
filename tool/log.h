// What the program says on stderr while it works: notes about what it changed, warnings, and details for
// those who ask.
#pragma once

#include "tool/advice.h"
#include "tool/errors.h"

#include <cstdio>
#include <string>

namespace tool {

enum class Talk { quiet, normal, verbose };

class Log {
public:
    explicit Log(Talk talk) : talk_(talk) {}

    void detail(const std::string& text) const { say(Talk::verbose, "", text); }
    void note(const std::string& text) const { say(Talk::normal, "", text); }
    void warn(const std::string& text) const { say(Talk::quiet, "warning: ", text); }
    Talk talk() const { return talk_; }

    void tell(const Note& note) const {
        switch (weightOf(note.kind)) {
        case Weight::detail:
            return detail(wordsFor(note));
        case Weight::change:
            return this->note(wordsFor(note));
        case Weight::warning:
            return warn(wordsFor(note));
        }
    }

private:
    void say(Talk least, const char* prefix, const std::string& text) const {
        if (talk_ >= least) {
            std::fprintf(stderr, "drape: %s%s\n", prefix, forTerminal(text).c_str());
        }
    }

    Talk talk_;
};

// Notes of the host that are told when their time has come: on demand, or at the end of the scope, also when
// an error cuts the work short.
class ToldNotes {
public:
    explicit ToldNotes(const Log& log) : log_(log) {}
    ~ToldNotes() { tell(); }
    ToldNotes(const ToldNotes&) = delete;
    ToldNotes& operator=(const ToldNotes&) = delete;

    Notes& list() { return notes_; }

    void tell() {
        for (const Note& note : notes_) {
            log_.tell(note);
        }
        notes_.clear();
    }

private:
    const Log& log_;
    Notes notes_;
};

} // namespace tool
