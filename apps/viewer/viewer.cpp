// A window that plays a transition, drawn by the library and shown with bmp_display.
//
//   viewer              plays to and fro until it is closed
//   viewer PROGRESS     shows one frame, 0 to 4096
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "viewer/scene.h"

namespace {

constexpr char kClass[] = "dorbmp viewer";
constexpr UINT kFrameMilliseconds = 40;
constexpr int kStep = 64;
constexpr int kTurn = 2 * viewer::Scene::kSteps;

struct Player {
  std::unique_ptr<viewer::Scene> scene;  // none while the window is minimised
  int position = 0;                      // 0 to kTurn: there and back
  bool playing = true;

  int progress() const { return position <= kTurn / 2 ? position : kTurn - position; }
};

// The scene is drawn anew for the window's size: the library shows frames, it does not scale them here.
void resize(Player& player, int width, int height) {
  player.scene.reset();
  if (width > 0 && height > 0) player.scene = std::make_unique<viewer::Scene>(width, height);
}

void paint(Player& player, HWND window) {
  PAINTSTRUCT request;
  const HDC device = BeginPaint(window, &request);
  if (player.scene != nullptr) {
    Bitmap* frame = player.scene->render(player.progress());
    bmp_display(device, 0, 0, frame->width, frame->height, frame, 0, 0);
  }
  EndPaint(window, &request);
}

LRESULT CALLBACK on_message(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  auto* player = reinterpret_cast<Player*>(GetWindowLongPtrA(window, GWLP_USERDATA));
  switch (message) {
    case WM_CREATE:
      player = static_cast<Player*>(reinterpret_cast<CREATESTRUCTA*>(lparam)->lpCreateParams);
      SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(player));
      if (player->playing) SetTimer(window, 1, kFrameMilliseconds, nullptr);
      return 0;
    case WM_SIZE:
      resize(*player, LOWORD(lparam), HIWORD(lparam));
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_TIMER:
      player->position = (player->position + kStep) % kTurn;
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_PAINT:
      paint(*player, window);
      return 0;
    case WM_ERASEBKGND:
      return 1;  // the frame covers it all
    case WM_DESTROY:
      KillTimer(window, 1);
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcA(window, message, wparam, lparam);
  }
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR arguments, int show) {
  Player player;
  if (*arguments != 0) {
    player.playing = false;
    player.position = std::clamp(std::atoi(arguments), 0, viewer::Scene::kSteps);
  }
  WNDCLASSA window_class = {};
  window_class.lpfnWndProc = on_message;
  window_class.hInstance = instance;
  window_class.hCursor = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW));
  window_class.lpszClassName = kClass;
  if (RegisterClassA(&window_class) == 0) return 1;
  const HWND window = CreateWindowA(kClass, kClass, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 640,
                                    480, nullptr, nullptr, instance, &player);
  if (window == nullptr) return 1;
  ShowWindow(window, show);

  MSG message;
  while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
  return static_cast<int>(message.wParam);
}
