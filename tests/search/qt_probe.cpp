// Must not build: the comparison's target carries no Qt include path.
#include <QWidget>
