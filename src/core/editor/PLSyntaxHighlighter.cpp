#include "core/editor/PLSyntaxHighlighter.h"

#include "core/foundation/PLLogging.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/foundation/PLRegularExpressionHelper.h"
#include "core/editor/PLSyntaxHighlighterDelegate.h"
#include "core/editor/PLTextStorage.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QElapsedTimer>

#include <algorithm>

namespace {
// A slice of background colouring stops after this long, so typing never waits noticeably.
constexpr qint64 kSliceNanoseconds = 4'000'000;
// Lines are coloured in chunks of about this many characters between looks at the clock.
constexpr qsizetype kChunkCharacters = 16 * 1024;
}

PLSyntaxHighlighter::PLSyntaxHighlighter(PLTextStorage *textStorage,
                                         std::unique_ptr<PLSyntaxHighlighterDelegate> delegate)
    : m_textStorage(textStorage), m_delegate(std::move(delegate))
{
    connect(textStorage, &PLTextStorage::didProcessEditing, this,
            [this](PLRange editedRange, qsizetype changeInLength) {
                textStorageDidProcessEditing(editedRange, changeInLength);
            });
    PLNotificationCenter::defaultCenter().addObserver(this, PLNotificationEditorTextStyleDidChange, nullptr,
                                                      [this](const PLNotification &) {
                                                          userDefaultsDidChangeEditorTextColor();
                                                      });
    m_sliceTimer.setSingleShot(true);
    m_sliceTimer.setInterval(0);
    connect(&m_sliceTimer, &QTimer::timeout, this, [this] {
        if (colourNextSlice())
            m_sliceTimer.start();
    });
}

PLSyntaxHighlighter::~PLSyntaxHighlighter()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
}

void PLSyntaxHighlighter::textStorageDidProcessEditing(PLRange editedRange, qsizetype changeInLength)
{
    if (!m_pending.empty())
        movePending(editedRange.location, editedRange.length - changeInLength, editedRange.length);
    highlightTextInRange(editedRange);
}

void PLSyntaxHighlighter::userDefaultsDidChangeEditorTextColor()
{
    if (!m_colourInBackground) {
        highlightTextInRange(PLRange{0, m_textStorage->length()});
        return;
    }
    // A text that was never coloured gets the new colours when it is first read.
    if (m_pending.empty() && m_textStorage->needsAttributeFixing())
        return;
    deferAll();
}

void PLSyntaxHighlighter::colourInBackground()
{
    m_colourInBackground = true;
    if (m_pending.empty() && m_textStorage->needsAttributeFixing())
        deferAll();
}

void PLSyntaxHighlighter::deferAll()
{
    const qsizetype length = m_textStorage->length();
    m_pending.clear();
    if (length > 0)
        m_pending.emplace(0, length);
    pendingChanged();
    if (!m_pending.empty())
        emit colouringDeferred();
}

void PLSyntaxHighlighter::pendingChanged()
{
    if (m_pending.empty()) {
        m_sliceTimer.stop();
        m_textStorage->setNeedsAttributeFixing(false);
        return;
    }
    // Readers of the attributes get the rest coloured before they read.
    m_textStorage->setNeedsAttributeFixing(true);
    if (!m_sliceTimer.isActive())
        m_sliceTimer.start();
}

void PLSyntaxHighlighter::markColoured(PLRange range)
{
    const qsizetype start = range.location;
    const qsizetype end = range.end();
    auto it = m_pending.upper_bound(start);
    if (it != m_pending.begin())
        --it;
    while (it != m_pending.end() && it->first < end) {
        const auto [from, to] = *it;
        it = m_pending.erase(it);
        if (to <= start)
            continue;
        if (from < start)
            m_pending.emplace(from, start);
        if (to > end)
            it = m_pending.emplace(end, to).first;
    }
}

void PLSyntaxHighlighter::movePending(qsizetype location, qsizetype oldLength, qsizetype newLength)
{
    const qsizetype oldEnd = location + oldLength;
    const qsizetype delta = newLength - oldLength;
    std::map<qsizetype, qsizetype> moved;
    for (const auto &[from, to] : m_pending) {
        const qsizetype start = from < location ? from : (from >= oldEnd ? from + delta : location);
        const qsizetype end = to <= location ? to : (to >= oldEnd ? to + delta : location + newLength);
        if (end <= start)
            continue;
        if (!moved.empty() && std::prev(moved.end())->second >= start)
            std::prev(moved.end())->second = std::max(std::prev(moved.end())->second, end);
        else
            moved.emplace(start, end);
    }
    m_pending = std::move(moved);
    pendingChanged();
}

void PLSyntaxHighlighter::colourNow(PLRange range)
{
    const qsizetype start = std::max<qsizetype>(range.location, 0);
    const qsizetype end = std::min(range.end(), m_textStorage->length());
    auto it = m_pending.upper_bound(start);
    if (it != m_pending.begin() && std::prev(it)->second > start)
        --it;
    std::vector<PLRange> wanted;
    for (; it != m_pending.end() && it->first < end; ++it) {
        const qsizetype from = std::max(it->first, start);
        const qsizetype to = std::min(it->second, end);
        if (to > from)
            wanted.push_back(PLRange{from, to - from});
    }
    for (const PLRange &part : wanted)
        highlightTextInRange(part);
}

void PLSyntaxHighlighter::finishColouring()
{
    if (m_pending.empty()) {
        highlightTextInRange(PLRange{0, m_textStorage->length()});
        return;
    }
    const std::map<qsizetype, qsizetype> pending = m_pending;
    for (const auto &[from, to] : pending)
        highlightTextInRange(PLRange{from, to - from});
}

bool PLSyntaxHighlighter::colourNextSlice()
{
    QElapsedTimer clock;
    clock.start();
    while (!m_pending.empty()) {
        const auto [from, to] = *m_pending.begin();
        highlightTextInRange(PLRange{from, std::min(to - from, kChunkCharacters)});
        if (clock.nsecsElapsed() >= kSliceNanoseconds)
            break;
    }
    return !m_pending.empty();
}

std::optional<PLColor> PLSyntaxHighlighter::colorForKey(const QString &key)
{
    if (!m_inPass)
        return PLUserDefaults::standardUserDefaults().colorForKey(key);
    for (const auto &[known, colour] : m_colours) {
        if (known == key)
            return colour;
    }
    const std::optional<PLColor> colour = PLUserDefaults::standardUserDefaults().colorForKey(key);
    m_colours.emplace_back(key, colour);
    return colour;
}

std::int32_t PLSyntaxHighlighter::valueIndex(const PLTextAttributeValue &value)
{
    for (size_t i = 0; i < m_values.size(); ++i) {
        if (m_values[i] == value)
            return std::int32_t(i);
    }
    m_values.push_back(value);
    return std::int32_t(m_values.size() - 1);
}

QVarLengthArray<std::int32_t, 4> PLSyntaxHighlighter::valueIndices(
    const std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> &attributes)
{
    // Looked up once per rule and line rather than once per token.
    QVarLengthArray<std::int32_t, 4> indices;
    for (const auto &attribute : attributes)
        indices.append(m_inPass ? valueIndex(attribute.second) : -1);
    return indices;
}

void PLSyntaxHighlighter::beginCanvas(qsizetype start, qsizetype length, std::int32_t textColor, std::int32_t font)
{
    m_canvas.start = start;
    m_canvas.length = length;
    for (auto &layer : m_canvas.layers)
        layer.assign(size_t(length), -1);
    std::fill(m_canvas.layers[int(PLTextAttributeName::ForegroundColor)].begin(),
              m_canvas.layers[int(PLTextAttributeName::ForegroundColor)].end(), textColor);
    std::fill(m_canvas.layers[int(PLTextAttributeName::Font)].begin(), m_canvas.layers[int(PLTextAttributeName::Font)].end(),
              font);
}

void PLSyntaxHighlighter::paint(PLTextAttributeName name, const PLTextAttributeValue &value, std::int32_t index,
                                PLRange range)
{
    if (!m_inPass) {
        m_textStorage->addAttribute(name, value, range);
        return;
    }
    const qsizetype start = std::clamp<qsizetype>(range.location - m_canvas.start, 0, m_canvas.length);
    const qsizetype end = std::clamp<qsizetype>(range.end() - m_canvas.start, start, m_canvas.length);
    if (end == start)
        return;
    auto &layer = m_canvas.layers[int(name)];
    std::fill(layer.begin() + start, layer.begin() + end, index);
}

const PLTextAttributes &PLSyntaxHighlighter::combined(const PLTextAttributes &stored, const std::int32_t (&values)[4])
{
    // A pass meets few combinations of stored attributes and painted values: build each once.
    for (const Combination &known : m_combinations) {
        if (std::equal(values, values + 4, known.values) && known.stored == stored)
            return known.result;
    }
    Combination combination{stored, {values[0], values[1], values[2], values[3]}, stored};
    for (int name = 0; name < 4; ++name) {
        if (values[name] >= 0)
            combination.result.setValue(PLTextAttributeName(name), m_values[size_t(values[name])]);
    }
    // Colouring again with unchanged colours paints what is stored: keep sharing its data, so the
    // runs take it back without copying and compare equal at a glance.
    if (combination.result == stored)
        combination.result = stored;
    if (m_combinations.size() >= kMaximumCombinations)
        m_combinations.erase(m_combinations.begin());
    m_combinations.push_back(std::move(combination));
    return m_combinations.back().result;
}

void PLSyntaxHighlighter::flushCanvas(std::vector<std::pair<qsizetype, PLTextAttributes>> &runs)
{
    const auto &layers = m_canvas.layers;
    const qsizetype canvasEnd = m_canvas.start + m_canvas.length;
    while (m_storedIndex < m_stored.size() && m_stored[m_storedIndex].first.end() <= m_canvas.start)
        ++m_storedIndex;
    for (size_t index = m_storedIndex; index < m_stored.size() && m_stored[index].first.location < canvasEnd; ++index) {
        const auto &[run, stored] = m_stored[index];
        qsizetype i = std::max(run.location, m_canvas.start) - m_canvas.start;
        const qsizetype end = std::min(run.end(), canvasEnd) - m_canvas.start;
        while (i < end) {
            const std::int32_t values[4] = {layers[0][size_t(i)], layers[1][size_t(i)], layers[2][size_t(i)],
                                            layers[3][size_t(i)]};
            qsizetype j = i + 1;
            while (j < end && layers[0][size_t(j)] == values[0] && layers[1][size_t(j)] == values[1]
                   && layers[2][size_t(j)] == values[2] && layers[3][size_t(j)] == values[3])
                ++j;
            const PLTextAttributes &attributes = combined(*stored, values);
            if (!runs.empty() && runs.back().second == attributes)
                runs.back().first += j - i;
            else
                runs.emplace_back(j - i, attributes);
            i = j;
        }
    }
}

void PLSyntaxHighlighter::highlightTextInRange(PLRange range)
{
    // Only the lines of the range are read, so colouring an edit costs the same in any text.
    const qsizetype textLength = m_textStorage->length();
    if (range.location < 0 || range.length < 0 || range.location > textLength || range.length > textLength - range.location) {
        qCInfo(lcHighlighter) << "highlightTextView: range out of bound";
        return;
    }
    m_inPass = true;
    m_colours.clear();
    m_values.clear();
    // Without a text colour nothing is coloured: that is how colouring stays off until the
    // defaults are registered.
    const std::optional<PLColor> textColor = colorForKey(PLUserDefaultsEditorColorText);
    if (!textColor) {
        m_inPass = false;
        qCInfo(lcHighlighter) << "no user defaults found";
        return;
    }
    const PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    const PLRange lines = m_textStorage->lineRangeForRange(range);
    const QString fontName = defaults.stringForKey(PLUserDefaultsEditorFontName);
    const PLFont font = fontName.isEmpty()
        ? PLFont{QStringLiteral("Tahoma"), 16.0}
        : PLFont{fontName, double(defaults.integerForKey(PLUserDefaultsEditorFontSize))};
    const std::int32_t textColorIndex = valueIndex(*textColor);
    const std::int32_t fontIndex = valueIndex(font);

    m_combinations.clear();
    m_stored.clear();
    m_storedIndex = 0;
    // The runs stay untouched until the pass lays its result over them, so their attributes are
    // read in place.
    m_textStorage->storedAttributeRuns().enumerateAttributes(lines, [this](const PLTextAttributes &attributes, PLRange run) {
        m_stored.emplace_back(run, &attributes);
    });
    std::vector<std::pair<qsizetype, PLTextAttributes>> runs;
    qsizetype painted = lines.location;
    // Stepping one past each line's end lands inside the next line, which still finds that line;
    // a line that is a lone line feed is stepped over, which costs nothing since it has no tokens.
    qsizetype position = lines.location;
    while (position < lines.end()) {
        const PLRange line = m_textStorage->lineRangeForRange(PLRange{position, 0});
        if (line.location > painted) {
            beginCanvas(painted, line.location - painted, textColorIndex, fontIndex);
            flushCanvas(runs);
        }
        beginCanvas(line.location, line.length, textColorIndex, fontIndex);
        m_delegate->syntaxHighlighterWillProcessStringForHighlighting(this, m_textStorage->substring(line),
                                                                      line.location);
        flushCanvas(runs);
        painted = line.end();
        position = line.end() + 1;
    }
    if (painted < lines.end()) {
        beginCanvas(painted, lines.end() - painted, textColorIndex, fontIndex);
        flushCanvas(runs);
    }
    m_inPass = false;
    m_stored.clear();
    m_combinations.clear();
    m_textStorage->beginEditing();
    m_textStorage->replaceAttributeRuns(lines.location, runs);
    m_textStorage->endEditing();
    if (!m_pending.empty()) {
        markColoured(lines);
        pendingChanged();
    }
}

void PLSyntaxHighlighter::setAttribute(PLTextAttributeName name, const PLTextAttributeValue &value,
                                       const QString &regEx, const QString &contentString, qsizetype currentLineStart)
{
    setAttributes({{name, value}}, regEx, contentString, currentLineStart);
}

void PLSyntaxHighlighter::setAttribute(PLTextAttributeName name, const PLTextAttributeValue &value,
                                       const QString &contentString, qsizetype currentLineStart,
                                       const PLSyntaxHighlighterLocator &locator)
{
    setAttributes({{name, value}}, contentString, currentLineStart, locator);
}

void PLSyntaxHighlighter::setAttributes(const std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> &attributes,
                                        const QString &regEx, const QString &contentString, qsizetype currentLineStart)
{
    if (attributes.empty())
        return;
    const QVarLengthArray<std::int32_t, 4> indices = valueIndices(attributes);
    // The rules' expressions look neither behind their start nor at the bounds, so one search
    // stepping through the line finds what a fresh search after each match would.
    PLRegularExpressionHelper::enumerateMatches(regEx, contentString, PLRange{0, contentString.size()},
                                                [&](const PLRegexMatch &match) {
                                                    const PLRange found = match.range(0);
                                                    for (size_t i = 0; i < attributes.size(); ++i)
                                                        paint(attributes[i].first, attributes[i].second, indices[qsizetype(i)],
                                                              PLRange{currentLineStart + found.location, found.length});
                                                    return true;
                                                });
}

void PLSyntaxHighlighter::setAttributes(const std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> &attributes,
                                        const QString &contentString, qsizetype currentLineStart,
                                        const PLSyntaxHighlighterLocator &locator)
{
    if (attributes.empty())
        return;
    const QVarLengthArray<std::int32_t, 4> indices = valueIndices(attributes);
    PLRange found = locator(contentString, 0, contentString.size());
    while (found.isFound()) {
        for (size_t i = 0; i < attributes.size(); ++i)
            paint(attributes[i].first, attributes[i].second, indices[qsizetype(i)],
                  PLRange{currentLineStart + found.location, found.length});
        const qsizetype next = found.end() + (found.length == 0 ? 1 : 0);
        if (next > contentString.size())
            break;
        found = locator(contentString, next, contentString.size() - next);
    }
}
