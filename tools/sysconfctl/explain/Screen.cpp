// SPDX-License-Identifier: Apache-2.0
#include "explain/Screen.h"

#include "explain/StepPlace.h"
#include "render/Plain.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace sysconfctl {
namespace {

constexpr std::size_t kMostSteps = 8;
/// The minimum width of a sentence that has its place beside it.
constexpr std::size_t kLeastRoom = 36;
constexpr std::size_t kGap = 2;
/// Address lists are wrapped after this separator.
constexpr std::string_view kListBreak = ";";
constexpr std::string_view kJsonBreak = ",";
constexpr std::string_view kMarker = "> ";
constexpr std::string_view kNoMarker = "  ";

std::vector<ScreenRow> rowsOf(const std::vector<const Step*>& steps, bool verbose) {
    std::vector<ScreenRow> rows;
    for (const Step* const step : steps) {
        ScreenRow row{
            step->weight == Weight::Decisive, std::string(step->kind), escaped(step->sentence), {}};
        if (const auto place = placeOf(*step)) {
            row.places.push_back(shownPlace(*place));
            if (verbose && !place->pointer.empty()) {
                row.places.push_back(escaped(place->pointer));
            }
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

struct Layout {
    std::size_t kind = 0;
    std::size_t indent = 0;
    std::size_t sentence = 0;
    bool beside = true;
};

Layout layoutOf(const std::vector<ScreenRow>& rows, std::size_t width) {
    Layout layout;
    std::size_t places = 0;
    for (const ScreenRow& row : rows) {
        layout.kind = std::max(layout.kind, row.kind.size());
        layout.sentence = std::max(layout.sentence, displayWidth(row.sentence));
        for (const std::string& place : row.places) {
            places = std::max(places, displayWidth(place) + kGap);
        }
    }
    layout.indent = kMarker.size() + layout.kind + kGap;
    const auto roomAfter = [&](std::size_t taken) { return width > taken ? width - taken : 1; };
    const std::size_t room = roomAfter(layout.indent + places);
    layout.beside = room >= std::min(kLeastRoom, layout.sentence);
    layout.sentence = std::min(layout.sentence, layout.beside ? room : roomAfter(layout.indent));
    return layout;
}

std::string padded(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, displayWidth(text)), ' ');
}

std::string rowLines(const ScreenRow& row, const Layout& layout, Paint paint, bool color) {
    std::vector<std::string> sentence = wrappedWords(row.sentence, layout.sentence, kListBreak);
    std::vector<std::string> places(layout.beside ? 0 : sentence.size());
    places.insert(places.end(), row.places.begin(), row.places.end());
    sentence.resize(std::max(sentence.size(), places.size()));
    places.resize(sentence.size());
    std::string text;
    std::string lead = std::string(row.decisive ? kMarker : kNoMarker) +
                       padded(row.kind, layout.kind) + std::string(kGap, ' ');
    for (std::size_t i = 0; i < sentence.size(); ++i) {
        const bool place = !places[i].empty();
        std::string line = lead + sentence[i];
        line = row.decisive && !sentence[i].empty() ? painted(line, paint, color) : line;
        if (place && layout.beside) {
            line += std::string(
                layout.sentence - std::min(layout.sentence, displayWidth(sentence[i])) + kGap, ' ');
        }
        text += line + places[i] + '\n';
        lead.assign(layout.indent, ' ');
    }
    return text;
}

void append(std::string& text, const std::string& sentence, std::size_t width) {
    for (const std::string& line : wrappedWords(sentence, width, kListBreak)) {
        text += line + '\n';
    }
}

std::string answerLines(const Reply& reply, const ScreenOptions& options) {
    const Paint paint = reply.answer.isAnswered() ? Paint::Green : Paint::Red;
    const bool json = std::holds_alternative<Json::Value>(reply.answer.value);
    const std::string_view breaks = json ? kJsonBreak : kListBreak;
    const std::size_t room = options.width > kGap ? options.width - kGap : 1;
    std::string text;
    for (std::string line : shownLines(reply)) {
        std::replace(line.begin(), line.end(), '\t', ' ');
        for (const std::string& piece : wrappedWords(line, room, breaks)) {
            text += "  " + painted(piece, paint, options.color) + '\n';
        }
    }
    return text;
}

} // namespace

std::vector<const Step*> chosenSteps(const std::vector<Step>& steps, bool verbose) {
    std::vector<const Step*> chosen;
    for (const Step& step : steps) {
        if (verbose || step.weight != Weight::Detail) {
            chosen.push_back(&step);
        }
    }
    while (!verbose && chosen.size() > kMostSteps) {
        const auto last = chosen.end() - 1;
        chosen.erase((*last)->weight == Weight::Decisive ? last - 1 : last);
    }
    return chosen;
}

std::string momentSentence(const Explanation& explanation) {
    switch (explanation.moment) {
    case Moment::Load:
        return "decided at load; this is for a process that starts now";
    case Moment::NodeAtLoad:
        return "the node is decided at load; this is for a process that starts now";
    case Moment::Call:
        break;
    }
    return {};
}

std::string screenRows(const std::vector<ScreenRow>& rows, const ScreenOptions& options,
                       Paint paint) {
    const Layout layout = layoutOf(rows, options.width);
    std::string text;
    for (const ScreenRow& row : rows) {
        text += rowLines(row, layout, paint, options.color);
    }
    return text;
}

std::string explanationScreen(const Explanation& explanation, const Reply& reply,
                              const ScreenOptions& options) {
    std::string text;
    for (const std::string& line : wrappedWords(explanation.label(), options.width)) {
        text += painted(line, Paint::Bold, options.color) + '\n';
    }
    text += answerLines(reply, options);
    append(text, escaped(explanation.verdict.sentence), options.width);
    const bool wrong = !explanation.verdict.advice.empty();
    if (wrong) {
        append(text, "to do: " + escaped(explanation.verdict.advice), options.width);
    }
    const std::vector<const Step*> steps = chosenSteps(explanation.steps, options.verbose);
    text += steps.empty() ? "" : "\n";
    text += screenRows(rowsOf(steps, options.verbose), options, wrong ? Paint::Red : Paint::Green);
    if (const std::size_t more = explanation.steps.size() - steps.size(); more != 0) {
        text += fmt::format("{} more step{}: -v\n", more, more == 1 ? "" : "s");
    }
    if (const std::string moment = momentSentence(explanation); !moment.empty()) {
        append(text, moment, options.width);
    }
    return text;
}

} // namespace sysconfctl
