// stb_image's decoder, which the tests compare with.
#define STB_IMAGE_IMPLEMENTATION
#include <stb/stb_image.h>
