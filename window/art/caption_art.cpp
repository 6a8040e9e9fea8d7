// The caption strip and the speed marks: dark capitals on the console grey.
//
// At seven pixels of cap height a font's outlines turn to grey mush, so the letters are drawn
// pixel by pixel from a bold face of our own: two-pixel stems, seven rows, a pixel between
// letters. It needs no installed font and looks the same on every machine.

#include <string_view>

#include "window/art/art_kit.h"

namespace window::art {
namespace {

constexpr int kGlyphRows = 7;

struct Glyph {
  char letter;
  const char* rows[kGlyphRows];
};

// clang-format off
constexpr Glyph kGlyphs[] = {
  {'A', {"..##..", ".####.", "##..##", "##..##", "######", "##..##", "##..##"}},
  {'B', {"####.", "##.##", "##.##", "####.", "##.##", "##.##", "####."}},
  {'C', {".###.", "##.##", "##...", "##...", "##...", "##.##", ".###."}},
  {'D', {"####.", "##.##", "##.##", "##.##", "##.##", "##.##", "####."}},
  {'E', {"####", "##..", "##..", "###.", "##..", "##..", "####"}},
  {'F', {"####", "##..", "##..", "###.", "##..", "##..", "##.."}},
  {'G', {".###.", "##.##", "##...", "##.##", "##.##", "##.##", ".####"}},
  {'H', {"##.##", "##.##", "##.##", "#####", "##.##", "##.##", "##.##"}},
  {'I', {"##", "##", "##", "##", "##", "##", "##"}},
  {'L', {"##..", "##..", "##..", "##..", "##..", "##..", "####"}},
  {'M', {"##...##", "###.###", "#######", "##.#.##", "##...##", "##...##", "##...##"}},
  {'N', {"##..##", "###.##", "######", "##.###", "##..##", "##..##", "##..##"}},
  {'O', {".###.", "##.##", "##.##", "##.##", "##.##", "##.##", ".###."}},
  {'P', {"####.", "##.##", "##.##", "####.", "##...", "##...", "##..."}},
  {'R', {"####.", "##.##", "##.##", "####.", "##.##", "##.##", "##.##"}},
  {'S', {".###.", "##.##", "##...", ".###.", "...##", "##.##", ".###."}},
  {'T', {"######", "..##..", "..##..", "..##..", "..##..", "..##..", "..##.."}},
  {'U', {"##.##", "##.##", "##.##", "##.##", "##.##", "##.##", ".###."}},
  {'V', {"##..##", "##..##", "##..##", "##..##", ".####.", ".####.", "..##.."}},
  {'W', {"##...##", "##...##", "##...##", "##.#.##", "#######", "###.###", "##...##"}},
  {'X', {"##..##", "##..##", ".####.", "..##..", ".####.", "##..##", "##..##"}},
  {'Y', {"##..##", "##..##", ".####.", "..##..", "..##..", "..##..", "..##.."}},
  {'Z', {"#####", "...##", "...##", "..##.", ".##..", "##...", "#####"}},
  {'/', {"..##", "..##", ".##.", ".##.", ".##.", "##..", "##.."}},
  {'-', {"...", "...", "...", "###", "...", "...", "..."}},
  {'1', {".##", "###", ".##", ".##", ".##", ".##", ".##"}},
  {'2', {".###.", "##.##", "...##", "..##.", ".##..", "##...", "#####"}},
  {'3', {"####.", "...##", "...##", ".###.", "...##", "...##", "####."}},
  {'4', {"...##", "..###", ".####", "##.##", "#####", "...##", "...##"}},
  {'5', {"#####", "##...", "####.", "...##", "...##", "##.##", ".###."}},
};
// clang-format on

constexpr int kSpaceWidth = 3;
constexpr int kLetterGap = 1;

const Glyph* glyphOf(char letter) {
  for (const Glyph& glyph : kGlyphs)
    if (glyph.letter == letter) return &glyph;
  return nullptr;
}

int glyphWidth(char letter) {
  const Glyph* glyph = glyphOf(letter);
  return glyph ? static_cast<int>(std::string_view(glyph->rows[0]).size()) : kSpaceWidth;
}

int textWidth(std::string_view text) {
  int width = 0;
  for (char letter : text) width += glyphWidth(letter) + kLetterGap;
  return text.empty() ? 0 : width - kLetterGap;
}

// Sets the letters with their top row at `top`, centred across the picture. Under every inked
// pixel that has ground below it goes a pale pixel, so the letters look pressed into the band.
void drawText(QImage& image, std::string_view text, int top) {
  const QRgb highlight = mix(QColor(kConsoleGrey), QColor(255, 255, 255), 0.45).rgb();
  int x = (image.width() - textWidth(text)) / 2;
  const auto inside = [&image](int px, int py) {
    return px >= 0 && py >= 0 && px < image.width() && py < image.height();
  };
  for (char letter : text) {
    if (const Glyph* glyph = glyphOf(letter)) {
      for (int row = 0; row < kGlyphRows; ++row) {
        const std::string_view bits(glyph->rows[row]);
        for (int col = 0; col < static_cast<int>(bits.size()); ++col) {
          if (bits[static_cast<std::size_t>(col)] != '#') continue;
          const bool inkBelow = row + 1 < kGlyphRows && glyph->rows[row + 1][col] == '#';
          if (!inkBelow && inside(x + col, top + row + 1) &&
              image.pixel(x + col, top + row + 1) == kConsoleGrey)
            image.setPixel(x + col, top + row + 1, highlight);
          if (inside(x + col, top + row)) image.setPixel(x + col, top + row, kInk);
        }
      }
    }
    x += glyphWidth(letter) + kLetterGap;
  }
}

std::string_view lettersOf(SkinPicture picture) {
  switch (picture) {
    case SkinPicture::ImgCfile:
      return "FILE";
    case SkinPicture::ImgCsetting:
      return "SETTINGS";
    case SkinPicture::ImgCsave:
      return "SAVE";
    case SkinPicture::ImgCbe:
      return "BEGIN / END";
    case SkinPicture::ImgCstep:
      return "FRAME ADVANCE";
    case SkinPicture::ImgCplay:
      return "REWIND / PAUSE / PLAY";
    case SkinPicture::ImgCsearch:
      return "ACTIVITY SEARCH";
    case SkinPicture::ImgCzoom:
      return "ZOOM";
    case SkinPicture::Img1X:
      return "1X";
    case SkinPicture::Img2X:
      return "2X";
    case SkinPicture::Img3X:
      return "3X";
    case SkinPicture::Img4X:
      return "4X";
    case SkinPicture::Img5X:
      return "5X";
    case SkinPicture::Img1XN:
      return "-1X";
    case SkinPicture::Img2XN:
      return "-2X";
    case SkinPicture::Img3XN:
      return "-3X";
    case SkinPicture::Img4XN:
      return "-4X";
    case SkinPicture::Img5XN:
      return "-5X";
    default:
      return "";
  }
}

}  // namespace

QImage paintCaption(SkinPicture picture, QSize size) {
  QImage image = blankPicture(size, kConsoleGrey);
  // Every caption and mark sits at window row 541, so one top row lines all letters up, the
  // marks with the caption they replace.
  drawText(image, lettersOf(picture), 1);
  return image;
}

}  // namespace window::art
