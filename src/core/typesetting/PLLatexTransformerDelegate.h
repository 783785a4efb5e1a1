#pragma once

#include <QString>

class PLLatexTransformer;

// Follows one typesetting job of a PLLatexTransformer. The engine choice, the output and a missing
// engine are told on the job's thread (receivers move to the main thread themselves for any user
// interface work); the files reached and the end are told on the main thread.
class PLLatexTransformerDelegate
{
public:
    virtual ~PLLatexTransformerDelegate() = default;
    virtual void latexTransformerDidChooseEngine(int engine) = 0;
    virtual void latexTransformerDidStartWorkingOnFileWithName(const QString &fileName) = 0;
    virtual void latexTransformerDidOutputString(const QString &output) = 0;
    virtual void latexTransformerCouldNotFindEngine(int engine, const QString &launchPath) = 0;
    virtual void latexTransformerDidFinish(PLLatexTransformer *transformer) = 0;
};
