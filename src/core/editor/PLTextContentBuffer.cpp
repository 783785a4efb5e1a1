#include "core/editor/PLTextContentBuffer.h"

#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"
#include "core/foundation/PLLogging.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextContentBufferEditObserver.h"

// One replacement as an undo step, recorded once the text is replaced.
class PLTextReplacementCommand : public PLUndoCommand
{
public:
    PLTextReplacementCommand(PLTextContentBuffer *buffer, qsizetype location, QString replaced, QString inserted)
        : m_buffer(buffer), m_location(location), m_replaced(std::move(replaced)), m_inserted(std::move(inserted))
    {
    }

    void undo() override { m_buffer->replay(PLRange{m_location, m_inserted.size()}, m_replaced); }
    void redo() override { m_buffer->replay(PLRange{m_location, m_replaced.size()}, m_inserted); }

private:
    PLTextContentBuffer *m_buffer;
    qsizetype m_location;
    QString m_replaced;
    QString m_inserted;
};

namespace {
// The name's extension, as a file names its type: nothing when there is no dot.
bool namesBibliography(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot >= 0 && name.mid(dot + 1).toLower() == u"bib";
}
}

PLTextContentBuffer::PLTextContentBuffer(const QString &name, const std::shared_ptr<PLFile> &file, const QString &content,
                                         QObject *parent)
    : PLTextStorage(content.size(), parent),
      m_content(content),
      m_string(content),
      m_stringIsCurrent(true),
      m_file(file),
      m_name(name),
      m_undoManager(new PLUndoManager(this)),
      m_arrayWithBrakePoints{QStringLiteral("{"), QStringLiteral("["), QStringLiteral("("), QStringLiteral(")"),
                             QStringLiteral("]"), QStringLiteral("}")}
{
    std::unique_ptr<PLSyntaxHighlighterDelegate> rules;
    if (namesBibliography(name))
        rules = std::make_unique<PLBIBSyntaxHightlighterDelegate>();
    else
        rules = std::make_unique<PLLatexSyntaxHighlighterDelegate>();
    // Created before any view can connect, so the colours are in place when views hear of an edit.
    m_syntaxHighlighter = std::make_unique<PLSyntaxHighlighter>(this, std::move(rules));
    if (m_content.size() > 0)
        setNeedsAttributeFixing(true);
}

void PLTextContentBuffer::fixAttributes()
{
    m_syntaxHighlighter->finishColouring();
}

const QString &PLTextContentBuffer::string() const
{
    if (!m_stringIsCurrent) {
        m_string = m_content.toString();
        m_stringIsCurrent = true;
    }
    return m_string;
}

PLTextContentBuffer::~PLTextContentBuffer() = default;

QString PLTextContentBuffer::closeParanthesesAndQuotes(const QString &string, PLRange)
{
    // The double quote becomes TeX's opening quote pair in front of the typed quote.
    if (string == u"\"")
        return QStringLiteral("``\"");
    if (string == u"(")
        return QStringLiteral("()");
    if (string == u"{")
        return QStringLiteral("{}");
    if (string == u"[")
        return QStringLiteral("[]");
    return string;
}

QString PLTextContentBuffer::smartQuote(const QString &string, PLRange)
{
    return string;
}

QString PLTextContentBuffer::autoIndentStringIfNecessary(const QString &string, PLRange range) const
{
    if (string != u"\n")
        return string;
    // The tabs that open the line, up to the location.
    qsizetype end = PLStringLineCalculations::lineStartIn(m_content, range.location);
    const qsizetype lineStart = end;
    while (end < range.location && m_content.at(end) == u'\t')
        ++end;
    return string + m_content.mid(lineStart, end - lineStart);
}

void PLTextContentBuffer::replaceCharactersInRange(PLRange range, const QString &string)
{
    if (range.location < 0 || range.length < 0 || range.end() > m_content.size()) {
        qCWarning(lcFile) << "replacement outside the text refused:" << toString(range) << "in" << m_content.size();
        return;
    }
    QString replacement = string;
    if (!m_replaying) {
        replacement = closeParanthesesAndQuotes(replacement, range);
        replacement = smartQuote(replacement, range);
        replacement = autoIndentStringIfNecessary(replacement, range);
    }
    const QString replaced = m_content.mid(range.location, range.length);
    m_content.replace(range.location, range.length, replacement);
    m_stringIsCurrent = false;
    if (!m_replaying)
        m_undoManager->push(std::make_unique<PLTextReplacementCommand>(this, range.location, replaced, replacement));
    applyReplacement(range, replacement);
}

void PLTextContentBuffer::setString(const QString &string)
{
    const PLRange whole{0, m_content.size()};
    // New text would take on the attributes of the old first character (a heading's background,
    // say) and the highlighter only adds to them: the text starts plain, as a freshly read one
    // does. The views hear of the attributes once, after the colouring.
    beginEditing();
    setAttributes(PLTextAttributes(), whole);
    m_content = PLGapBuffer(string);
    m_string = string;
    m_stringIsCurrent = true;
    applyReplacement(whole, string);
    endEditing();
}

void PLTextContentBuffer::replay(PLRange range, const QString &string)
{
    const bool wasReplaying = m_replaying;
    m_replaying = true;
    replaceCharactersInRange(range, string);
    m_replaying = wasReplaying;
}

void PLTextContentBuffer::setEditObserver(std::unique_ptr<PLTextContentBufferEditObserver> observer)
{
    m_editObserver = std::move(observer);
}

void PLTextContentBuffer::applyReplacement(PLRange range, const QString &string)
{
    if (m_editObserver)
        m_editObserver->textContentBufferDidReplaceCharactersInRange(this, range, string);
    edited(range, string.size() - range.length);
}
