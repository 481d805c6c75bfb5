// Names of the picture containers that DirectX::SaveToWICFile and SaveToWICMemory write.
#pragma once

#include <guiddef.h>

extern "C" const GUID GUID_ContainerFormatBmp;
extern "C" const GUID GUID_ContainerFormatPng;
extern "C" const GUID GUID_ContainerFormatJpeg;
