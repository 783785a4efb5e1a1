#include "core/editor/PLTextContentBuffer.h"

#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"
#include "core/project/PLFile.h"
#include "core/foundation/PLLogging.h"
#include "core/latex/PLOutlineNode.h"
#include "core/latex/PLOutlineNodeTreeChangesHandler.h"
#include "core/foundation/PLRegularExpressionHelper.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLSyntaxHighlighter.h"

#include <QUndoCommand>
#include <QUndoStack>

// One replacement as an undo step. The text is already replaced when the step is recorded, so the
// first redo, which the stack runs on push, does nothing.
class PLTextReplacementCommand : public QUndoCommand
{
public:
    PLTextReplacementCommand(PLTextContentBuffer *buffer, qsizetype location, QString replaced, QString inserted)
        : m_buffer(buffer), m_location(location), m_replaced(std::move(replaced)), m_inserted(std::move(inserted))
    {
    }

    void undo() override { m_buffer->replay(PLRange{m_location, m_inserted.size()}, m_replaced); }

    void redo() override
    {
        if (m_recorded) {
            m_recorded = false;
            return;
        }
        m_buffer->replay(PLRange{m_location, m_replaced.size()}, m_inserted);
    }

private:
    PLTextContentBuffer *m_buffer;
    qsizetype m_location;
    QString m_replaced;
    QString m_inserted;
    bool m_recorded = true;
};

PLTextContentBuffer::PLTextContentBuffer(const QString &name, const std::shared_ptr<PLFile> &file, const QString &content,
                                         std::shared_ptr<PLFileContentOutlineParser> contentParser, QObject *parent)
    : PLTextStorage(content.size(), parent),
      m_content(content),
      m_string(content),
      m_stringIsCurrent(true),
      m_contentParser(std::move(contentParser)),
      m_file(file),
      m_name(name),
      m_outlineNodeTreeChangesHandler(std::make_unique<PLOutlineNodeTreeChangesHandler>(file)),
      m_undoManager(new QUndoStack(this)),
      m_arrayWithBrakePoints{QStringLiteral("{"), QStringLiteral("["), QStringLiteral("("), QStringLiteral(")"),
                             QStringLiteral("]"), QStringLiteral("}")}
{
    std::unique_ptr<PLSyntaxHighlighterDelegate> rules;
    if (file && file->type().toLower() == u"bib")
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

const QString &PLTextContentBuffer::xelatexMagicCommentExpression()
{
    static const QString expression = QStringLiteral("%!TEX TS-program( )*=( )*xelatex( )*\\n");
    return expression;
}

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
        m_undoManager->push(new PLTextReplacementCommand(this, range.location, replaced, replacement));
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

void PLTextContentBuffer::applyReplacement(PLRange range, const QString &string)
{
    const auto owner = file();
    const auto root = owner ? owner->outlineRootNode() : nullptr;
    if (m_updateOutlineWhenReplacingCharacters) {
        if (root)
            m_outlineNodeTreeChangesHandler->replaceContentInOutlineNode(root, range.location, range.length, string);
        updateFileEngine();
    }
    if (root && lcOutlineDump().isDebugEnabled()) {
        QStringList descriptions;
        for (const auto &child : root->children())
            descriptions.append(QStringLiteral("    ") + child->description());
        qCDebug(lcOutlineDump).noquote() << QStringLiteral("(\n%1\n)").arg(descriptions.join(QStringLiteral(",\n")));
    }
    edited(range, string.size() - range.length);
}

void PLTextContentBuffer::updateFileEngine()
{
    const auto owner = file();
    if (!owner || !owner->outlineRootNode())
        return;
    const auto first = owner->outlineRootNode()->childAtIndex(0);
    if (!first)
        return;
    // Every file is asked on opening; only a text holding the comment's start needs the expression.
    const QString content = first->content();
    const bool xelatex = content.contains(u"%!TEX TS-program")
        && PLRegularExpressionHelper::rangeOfFirstMatch(xelatexMagicCommentExpression(), content).isFound();
    owner->setEngine(xelatex ? PLFile::XeLaTeXEngine : PLFile::DefaultEngine);
}
