// What the fuzz targets share: a business object whose answers are the lines of the fuzz input,
// and the line between the runtime errors a caller is expected to catch and real failures.
//
// Answer lines, one per SendCommand, in order; when they run out every call answers "":
//   TEXT            the answer text (the usual "OK:..." / "ERROR:..." / "EMPTY:" / item text)
//   !raise N TEXT   SendCommand throws VbError(N, TEXT), as a failing business object does
//   !true !false    a boolean answer
//   !num N          a number answer
//   !null !empty    the Null and Empty answers
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "link/IGuiBridge.h"
#include "tools/Vb.h"

namespace kestrova::fuzz {

// The fuzz input as lines (a CR before the line end is kept: it is part of an answer).
inline std::vector<std::string> Lines(const uint8_t* data, size_t size) {
    std::vector<std::string> lines;
    std::string_view text(reinterpret_cast<const char*>(data), size);
    while (!text.empty()) {
        const size_t end = text.find('\n');
        lines.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return lines;
}

// A leading decimal number of a word, clamped to [lo, hi]; def when there is none.
inline int64_t Number(std::string_view word, int64_t lo, int64_t hi, int64_t def = 0) {
    bool negative = !word.empty() && word.front() == '-';
    if (negative) word.remove_prefix(1);
    if (word.empty() || word.front() < '0' || word.front() > '9') return def;
    int64_t v = 0;
    for (char c : word) {
        if (c < '0' || c > '9') break;
        v = v * 10 + (c - '0');
        if (v > 100'000'000'000'000'000) break;  // far outside any range already
    }
    if (negative) v = -v;
    return v < lo ? lo : v > hi ? hi : v;
}

// Splits off the next blank-separated word.
inline std::string_view Word(std::string_view& rest) {
    while (!rest.empty() && rest.front() == ' ') rest.remove_prefix(1);
    const size_t end = rest.find(' ');
    std::string_view word = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end);
    return word;
}

class FuzzBridge : public IGuiBridge {
  public:
    void Give(std::string answer) { answers_.push_back(std::move(answer)); }
    size_t Calls() const { return calls_; }
    // Whether this object raised an error of that number.
    bool Raised(int32_t number) const {
        for (int32_t n : raised_)
            if (n == number) return true;
        return false;
    }

    void RegisterGui(const std::string&, const std::string&) override {}
    void UnregisterGui(const std::string&) override {}
    void CloseGui(const std::string&) override {}
    void NotifyGuiReleased() override {}
    void SetItem(const std::string&, const Variant&) override {}

    Variant SendCommand(const std::string&) override {
        ++calls_;
        if (next_ >= answers_.size()) return std::string();
        std::string_view line = answers_[next_++];
        if (line.empty() || line.front() != '!') return std::string(line);
        const std::string_view kind = Word(line);
        if (kind == "!raise") {
            const int64_t number = Number(Word(line), INT32_MIN, INT32_MAX, 5);
            while (!line.empty() && line.front() == ' ') line.remove_prefix(1);
            raised_.push_back(static_cast<int32_t>(number));
            throw VbError(static_cast<int32_t>(number), std::string(line));
        }
        if (kind == "!true") return true;
        if (kind == "!false") return false;
        if (kind == "!num") return Number(Word(line), INT64_MIN / 2, INT64_MAX / 2);
        if (kind == "!null") return Variant::MakeNull();
        if (kind == "!empty") return Variant();
        return std::string(answers_[next_ - 1]);
    }

  private:
    std::vector<std::string> answers_;
    std::vector<int32_t> raised_;
    size_t next_ = 0;
    size_t calls_ = 0;
};

// Errors of the original runtime that callers are expected to catch: conversion (Type
// mismatch), Overflow, Subscript out of range, Invalid use of Null, and the errors the
// business object itself raised (handed on to the caller by design).
inline bool Expected(const std::exception& e, const FuzzBridge* raisedBy = nullptr) {
    const auto* vb = dynamic_cast<const VbError*>(&e);
    if (!vb) return false;
    switch (vb->Number()) {
        case vberr::Overflow:
        case vberr::SubscriptOutOfRange:
        case vberr::TypeMismatch:
        case 94:  // Invalid use of Null
            return true;
        default:
            return raisedBy && raisedBy->Raised(vb->Number());
    }
}

[[noreturn]] inline void Fail(const std::string& what) {
    std::fprintf(stderr, "FUZZ FAILURE: %s\n", what.c_str());
    std::fflush(stderr);
    std::abort();
}

// Runs one call; an error the runtime documents is fine, anything else ends the run.
template <class Call>
void Check(const char* name, Call&& call, const FuzzBridge* bridge = nullptr) {
    try {
        call();
    } catch (const std::exception& e) {
        if (!Expected(e, bridge)) Fail(std::string(name) + " raised: " + e.what());
    } catch (...) {
        Fail(std::string(name) + " raised an unknown error");
    }
}

}  // namespace kestrova::fuzz
