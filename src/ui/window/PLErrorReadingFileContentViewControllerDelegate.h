#pragma once

#include "core/foundation/PLStringEncoding.h"

class PLErrorReadingFileContentViewController;

// What the unreadable-file notice asks of the pane it stands in.
class PLErrorReadingFileContentViewControllerDelegate
{
public:
    virtual ~PLErrorReadingFileContentViewControllerDelegate() = default;

    // The user chose an encoding in the notice's popup and asked to read the file again with it.
    virtual void errorReadingFileContentViewControllerDidRequestReopeningOfFileUsingEncoding(
        PLErrorReadingFileContentViewController *controller, PLStringEncoding encoding) = 0;
};
