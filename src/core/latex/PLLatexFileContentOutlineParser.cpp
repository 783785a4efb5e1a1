#include "core/latex/PLLatexFileContentOutlineParser.h"

#include "core/foundation/PLDictionaryKeys.h"
#include "core/project/PLFile.h"
#include "core/latex/PLLatexStringParser.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLOutlineNode.h"
#include "core/latex/PLOutlineNodeTreeChangesHandler.h"
#include "core/foundation/PLRegularExpressionHelper.h"
#include "core/editor/PLTextContentBuffer.h"

PLLatexFileContentOutlineParser::PLLatexFileContentOutlineParser(PLQuickOpenManager *quickOpenManager)
    : m_quickOpenManager(quickOpenManager)
{
}

PLLatexFileContentOutlineParser::~PLLatexFileContentOutlineParser() = default;

void PLLatexFileContentOutlineParser::parseFile(const std::shared_ptr<PLFile> &file)
{
    if (!file)
        return;
    m_file = file;
    file->resetOutline();
    parseContentBuffer(file->contentBuffer());
    updateFileEngine(*file);
}

void PLLatexFileContentOutlineParser::parseContentBuffer(PLTextContentBuffer *contentBuffer)
{
    if (!contentBuffer)
        return;
    const auto file = contentBuffer->file();
    if (!file)
        return;
    PLLatexStringParser latexStringParser(file);
    const auto nodes = latexStringParser.parseString(contentBuffer->string());
    const auto &root = file->outlineRootNode();
    PLNotificationCenter &center = PLNotificationCenter::defaultCenter();
    const bool observed = center.isObserved(PLNotificationOutlineNodeWasAdded, file.get());
    for (const auto &node : nodes) {
        root->addChild(node);
        if (observed) {
            center.post(PLNotificationOutlineNodeWasAdded, file.get(),
                        QVariantMap{{PLDictionaryKeyOutlineNodeAdded, QVariant::fromValue(node)}});
        }
    }
    root->fixTree();
}

std::shared_ptr<PLOutlineNode> PLLatexFileContentOutlineParser::resetOutlineRootNode(const std::shared_ptr<PLFile> &file,
                                                                                     const std::shared_ptr<PLOutlineNode> &root)
{
    if (!root)
        return PLOutlineNode::create(file->name(), PLOutlineNode::FileRoot, file->content(), file);
    while (root->childCount() > 0)
        root->removeChild(root->childAtIndex(root->childCount() - 1));
    root->setName(file->name());
    root->setContent(file->content());
    return root;
}

namespace {
bool outlineHoldsRoot(const PLOutlineNode &node, const PLOutlineNode *root)
{
    for (const auto &child : node.children()) {
        if (child.get() == root)
            return true;
        if (child->type() != PLOutlineNode::FileRoot && outlineHoldsRoot(*child, root))
            return true;
    }
    return false;
}
}

bool PLLatexFileContentOutlineParser::outlineIncludesFile(const PLFile &file, const PLFile &included) const
{
    return file.outlineRootNode() && outlineHoldsRoot(*file.outlineRootNode(), included.outlineRootNode().get());
}

std::unique_ptr<PLTextContentBufferEditObserver> PLLatexFileContentOutlineParser::editObserverForFile(const std::shared_ptr<PLFile> &file)
{
    return std::make_unique<PLOutlineNodeTreeChangesHandler>(file);
}

void PLLatexFileContentOutlineParser::updateFileEngine(PLFile &file)
{
    static const QString xelatexMagicCommentExpression = QStringLiteral("%!TEX TS-program( )*=( )*xelatex( )*\\n");
    if (!file.outlineRootNode())
        return;
    const auto first = file.outlineRootNode()->childAtIndex(0);
    if (!first)
        return;
    // Every file is asked on opening; only a text holding the comment's start needs the expression.
    const QStringView content = first->contentView();
    const bool xelatex = content.contains(u"%!TEX TS-program")
        && PLRegularExpressionHelper::rangeOfFirstMatch(xelatexMagicCommentExpression, content.toString()).isFound();
    file.setEngine(xelatex ? PLFile::XeLaTeXEngine : PLFile::DefaultEngine);
}
