#include "ClientWindow.h"

#include "WindowSource.h"

// Here, where comparing the source's pointer knows the source's type.
bool ClientWindow::operator==(const ClientWindow &) const = default;
