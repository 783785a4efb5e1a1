#include "core/latex/PLLatexFileContentOutlineParser.h"

#include "core/foundation/PLDictionaryKeys.h"
#include "core/project/PLFile.h"
#include "core/latex/PLLatexStringParser.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLOutlineNode.h"
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
    for (const auto &node : nodes) {
        root->addChild(node);
        center.post(PLNotificationOutlineNodeWasAdded, file.get(),
                    QVariantMap{{PLDictionaryKeyOutlineNodeAdded, QVariant::fromValue(node)}});
    }
    root->fixTree();
}
