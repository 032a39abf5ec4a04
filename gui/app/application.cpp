#include "app/application.h"

#include "app/vector_state.h"

OndravaApplication::OndravaApplication(int& argc, char** argv) : QApplication(argc, argv) {}

bool OndravaApplication::notify(QObject* receiver, QEvent* event)
{
    clear_upper_vector_state();
    return QApplication::notify(receiver, event);
}
