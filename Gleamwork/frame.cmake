# The frame pipeline: render frames, their views, stages and batches, and the pool of render targets.
list(APPEND GLEAMWORK_SOURCES
  AppStage.cpp
  OffscreenRenderFrame.cpp
  RenderFrame.cpp
  RenderTargetManager.cpp
  RenderView.cpp
  RenderViewBatches.cpp
  StageGroup.cpp)
