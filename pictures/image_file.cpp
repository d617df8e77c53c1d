#include "pictures/image_file.h"
