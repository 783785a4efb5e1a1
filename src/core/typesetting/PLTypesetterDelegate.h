#pragma once

#include <QString>

#include <memory>

class PLTypesetter;
class PLTypesettingLogFileParser;

// Follows one job of a PLTypesetter. The engine choice, the output and a missing engine are told
// on the job's thread; the files reached and the end (with the job's parser) on the main thread.
class PLTypesetterDelegate
{
public:
    virtual ~PLTypesetterDelegate() = default;
    virtual void typesetterWillStartTypesettingUsingEngine(PLTypesetter *typesetter, int engine) = 0;
    virtual void typesetterDidReachFileInclusionForFileWithName(PLTypesetter *typesetter, const QString &fileName) = 0;
    virtual void typesetterDidOutputString(PLTypesetter *typesetter, const QString &output) = 0;
    virtual void typesetterWasUnableToLocateEngine(PLTypesetter *typesetter, int engine, const QString &launchPath) = 0;
    virtual void typesetterDidFinish(PLTypesetter *typesetter, std::shared_ptr<PLTypesettingLogFileParser> parser) = 0;
};
