#include "pictures/scene.h"
