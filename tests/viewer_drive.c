/*
 * Drives the viewer from outside, as a user would:
 *
 *   viewer_drive find                  waits for its window
 *   viewer_drive resize WIDTH HEIGHT   gives its client area that size
 *   viewer_drive close                 closes it and waits until it is gone
 *
 * find and resize print the client area: left, top, width, height on the screen.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

static HWND find(void) {
  int tries;
  for (tries = 0; tries < 150; ++tries) {
    HWND window = FindWindowA("dorbmp viewer", NULL);
    if (window != NULL && IsWindowVisible(window)) return window;
    Sleep(100);
  }
  fprintf(stderr, "no window\n");
  exit(1);
}

static void print_client_area(HWND window) {
  RECT area;
  POINT corner = {0, 0};
  GetClientRect(window, &area);
  ClientToScreen(window, &corner);
  printf("%ld %ld %ld %ld\n", corner.x, corner.y, area.right, area.bottom);
}

static void resize(HWND window, int width, int height) {
  RECT area;
  SetRect(&area, 0, 0, width, height);
  AdjustWindowRectEx(&area, (DWORD)GetWindowLongA(window, GWL_STYLE), FALSE,
                     (DWORD)GetWindowLongA(window, GWL_EXSTYLE));
  SetWindowPos(window, NULL, 0, 0, area.right - area.left, area.bottom - area.top, SWP_NOMOVE | SWP_NOZORDER);
}

static int close(HWND window) {
  int tries;
  PostMessageA(window, WM_CLOSE, 0, 0);
  for (tries = 0; tries < 100; ++tries) {
    if (!IsWindow(window)) return 0;
    Sleep(100);
  }
  fprintf(stderr, "the window is still there\n");
  return 1;
}

int main(int count, char** arguments) {
  HWND window;
  if (count < 2) return 2;
  window = find();
  if (strcmp(arguments[1], "close") == 0) return close(window);
  if (strcmp(arguments[1], "resize") == 0 && count == 4) {
    resize(window, atoi(arguments[2]), atoi(arguments[3]));
  }
  print_client_area(window);
  return 0;
}
