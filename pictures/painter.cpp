#include "pictures/painter.h"
