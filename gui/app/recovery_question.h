#pragma once

#include "view/document_journal.h"

#include <vector>

class QWidget;

// What the user wants done with the documents a crashed program left.
enum class RecoveryAnswer { Open, Delete, Keep };

// Lists the documents (name, time and size) and asks: open them as
// recovered documents, delete them, or keep them for later. Closing the box
// keeps them.
RecoveryAnswer ask_about_recovery(QWidget* parent, const std::vector<RecoverableDocument>& documents);
