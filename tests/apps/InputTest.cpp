// The viewer's controls and its clock, without a display.
#include "window/Input.h"
#include "window/FrameRate.h"
#include "window/Title.h"

#include <SDL.h>
#include <gtest/gtest.h>

using namespace gleamview;

namespace {

constexpr Uint32 s_window = 7;
constexpr int s_height = 200;

SDL_Event Key(int code, int modifiers = 0, bool repeats = false)
{
    SDL_Event event{};
    event.type = SDL_KEYDOWN;
    event.key.windowID = s_window;
    event.key.keysym.sym = code;
    event.key.keysym.mod = static_cast<Uint16>(modifiers);
    event.key.repeat = repeats;
    return event;
}

SDL_Event Motion(Uint32 buttons, int right, int down, Uint32 window = s_window)
{
    SDL_Event event{};
    event.type = SDL_MOUSEMOTION;
    event.motion.windowID = window;
    event.motion.state = buttons;
    event.motion.xrel = right;
    event.motion.yrel = down;
    return event;
}

TEST(ViewerInput, KeysAskForActionsOnceAndMoveWhileHeld)
{
    Input input(s_window);
    for (const SDL_Event& event : {Key(SDLK_w), Key(SDLK_w, 0, true), Key(SDLK_s, KMOD_LCTRL), Key(SDLK_F11)}) {
        input.Handle(event, s_height);
    }
    SDL_Event other = Key(SDLK_q);
    other.key.windowID = s_window + 1;
    input.Handle(other, s_height);
    InputNews news = input.Take();
    EXPECT_EQ(news.actions, (std::vector<Action>{Action::Wireframe, Action::FullScreen}));
    EXPECT_FALSE(news.MovesCamera());

    input.Handle(Key(SDLK_LEFT), s_height);
    input.Handle(Key(SDLK_LEFT, 0, true), s_height);
    input.Handle(Key(SDLK_UP, KMOD_LSHIFT), s_height);
    input.Handle(Key(SDLK_PLUS), s_height);
    news = input.Take();
    EXPECT_LT(news.orbitYaw, 0.0f);
    EXPECT_GT(news.panUp, 0.0f);
    EXPECT_GT(news.zoom, 1.0f);
    EXPECT_TRUE(news.MovesCamera());
    EXPECT_FALSE(input.Take().MovesCamera()); // taken is taken
}

TEST(ViewerInput, TheSceneFollowsThePointer)
{
    Input input(s_window);
    input.Handle(Motion(SDL_BUTTON_LMASK, 100, 0), s_height);
    input.Handle(Motion(SDL_BUTTON_RMASK, 100, 50), s_height);
    input.Handle(Motion(0, 100, 100), s_height);
    input.Handle(Motion(SDL_BUTTON_LMASK, 100, 100, s_window + 1), s_height);
    input.Handle(Motion(SDL_BUTTON_LMASK, 100, 100), 0); // a window without a size
    const InputNews news = input.Take();
    EXPECT_LT(news.orbitYaw, 0.0f); // the camera goes left, the scene right
    EXPECT_FLOAT_EQ(news.orbitPitch, 0.0f);
    EXPECT_FLOAT_EQ(news.panRight, -0.5f); // of the height: the point under the pointer stays there
    EXPECT_FLOAT_EQ(news.panUp, 0.25f);
}

TEST(ViewerInput, FilesAreOpenedTogetherWhenTheDropIsWhole)
{
    Input input(s_window);
    SDL_Event drop{};
    drop.type = SDL_DROPFILE;
    for (const char* name : {"a.obj", "b.png"}) {
        drop.drop.file = SDL_strdup(name);
        input.Handle(drop, s_height);
    }
    EXPECT_TRUE(input.Take().files.empty());
    drop.type = SDL_DROPCOMPLETE;
    drop.drop.file = nullptr;
    input.Handle(drop, s_height);
    EXPECT_EQ(input.Take().files, (std::vector<std::string>{"a.obj", "b.png"}));
}

TEST(ViewerClock, RatesAndPaces)
{
    using namespace std::chrono_literals;
    const FrameRate::Clock::time_point start{1000s};
    FrameRate rate;
    EXPECT_EQ(rate.Get(), 0.0);
    for (int i = 0; i < 50; ++i) {
        rate.Add(start + i * 20ms);
    }
    EXPECT_NEAR(rate.Get(), 50.0, 0.01);
    rate.Add(start + 10s); // a long wait counts by itself
    EXPECT_NEAR(rate.Get(), 1.0 / 9.02, 0.01);

    FramePace pace;
    pace.SetRate(50);
    EXPECT_EQ(pace.GetWait(start), 0);
    pace.Begin(start);
    EXPECT_EQ(pace.GetWait(start), 10);
    pace.Begin(start + 10ms); // earlier than the display's rate
    EXPECT_EQ(pace.GetWait(start + 10ms), 20);
    pace.Begin(start + 500ms);
    EXPECT_EQ(pace.GetWait(start + 510ms), 0); // late frames are not made up for
}

TEST(ViewerTitle, TellsWhatThereIs)
{
    EXPECT_EQ(MakeTitle({"a.obj", "llvmpipe", "", 59.7, false}), "a.obj - 60 fps - llvmpipe - gleamview");
    EXPECT_EQ(MakeTitle({"a.obj", "", "saved a-1.png", 0.0, true}), "saved a-1.png - a.obj - paused - gleamview");
}

} // namespace
