#include "app/application.h"

#include "app/messages.h"
#include "app/vector_state.h"

#include <exception>

OndravaApplication::OndravaApplication(int& argc, char** argv) : QApplication(argc, argv) {}

bool OndravaApplication::notify(QObject* receiver, QEvent* event)
{
    clear_upper_vector_state();
    // An exception that escapes a handler ends that command with a message;
    // the program and its documents stay.
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception& e) {
        ErrMsg("The command stopped on an internal error: %s", e.what());
    } catch (...) {
        ErrMsg("The command stopped on an internal error.");
    }
    return false;
}
