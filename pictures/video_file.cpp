#include "pictures/video_file.h"
