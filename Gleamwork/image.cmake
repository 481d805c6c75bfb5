# Formats, buffers, images, pixel conversion and image files.
list(APPEND GLEAMWORK_SOURCES
  image/FastConverters.cpp
  image/FastShuffle.cpp
  image/Format.cpp
  image/GraphicsBuffer.cpp
  image/Image.cpp
  image/ImagePixelOps.cpp
  image/ImageUtils.cpp
  image/PackedPixels.cpp
  image/PixelWriter.cpp
  image/PlainConverters.cpp
  image/win32/ImageFileFormatBMP.cpp
  image/win32/ImageFileFormatDDS.cpp
  image/win32/ImageFileFormatJPEG.cpp
  image/win32/ImageFileFormatPNG.cpp
  image/win32/ImageFileFormatTGA.cpp
  image/win32/ImageReader.cpp)
find_package(PNG REQUIRED)
find_package(JPEG REQUIRED)
list(APPEND GLEAMWORK_LIBS PNG::PNG JPEG::JPEG)
