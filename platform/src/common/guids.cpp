// The one place that defines the interface identifiers which the published headers declare.
#define INITGUID
#include "d3d11_1.h"
#include "d3d11shader.h"
#include "d3dcompiler.h"
#include "dxgi1_6.h"
