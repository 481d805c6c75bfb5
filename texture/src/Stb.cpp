// The single-header libraries, compiled once.
#include <cstring>

#define STB_DXT_IMPLEMENTATION
#include <stb/stb_dxt.h>
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb/stb_image_resize.h>
