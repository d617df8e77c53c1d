#include "pictures/files.h"
