// skin_preview FOLDER: writes every skin picture as FOLDER/<control>.png, a sheet of the small
// ones at four times their size, and the window as it stands at start and during playback.

#include <QDir>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <cstdio>
#include <vector>

#include "window/art/skin_art.h"

namespace {

using window::SkinPicture;

struct Placed {
  SkinPicture picture;
  const char* name;
  int left, top, width, height;  // the control, in twips; 0 x 0 for pictures not on Form1
};

// In the order they are drawn: what lies on top comes last.
const std::vector<Placed> kPictures = {
    {SkinPicture::Background, "Background", 0, 0, 0, 0},
    {SkinPicture::Icon, "Icon", 0, 0, 0, 0},
    {SkinPicture::ImgBar, "imgBar", 2500, 6600, 9000, 225},
    {SkinPicture::PicBlock, "picBlock", 2500 + 3300, 6600, 750, 225},
    {SkinPicture::Img1X, "img1X", 8250, 8115, 210, 135},
    {SkinPicture::Img2X, "img2X", 8250, 8115, 225, 135},
    {SkinPicture::Img3X, "img3X", 8250, 8115, 225, 135},
    {SkinPicture::Img4X, "img4X", 8250, 8115, 225, 135},
    {SkinPicture::Img5X, "img5X", 8250, 8115, 225, 135},
    {SkinPicture::Img1XN, "img1XN", 6765, 8115, 285, 135},
    {SkinPicture::Img2XN, "img2XN", 6765, 8115, 285, 135},
    {SkinPicture::Img3XN, "img3XN", 6765, 8115, 285, 135},
    {SkinPicture::Img4XN, "img4XN", 6765, 8115, 285, 135},
    {SkinPicture::Img5XN, "img5XN", 6765, 8115, 285, 135},
    {SkinPicture::ImgCfile, "imgCfile", 555, 8115, 390, 135},
    {SkinPicture::ImgCsetting, "imgCsetting", 1245, 8115, 825, 165},
    {SkinPicture::ImgCsave, "imgCsave", 2445, 8115, 480, 165},
    {SkinPicture::ImgCbe, "imgCbe", 3510, 8115, 1050, 165},
    {SkinPicture::ImgCstep, "imgCstep", 4860, 8115, 1470, 165},
    {SkinPicture::ImgCplay, "imgCplay", 6735, 8115, 1980, 165},
    {SkinPicture::ImgCsearch, "imgCsearch", 9120, 8115, 1500, 165},
    {SkinPicture::ImgCzoom, "imgCzoom", 11250, 8115, 510, 165},
    {SkinPicture::ImgFile, "imgFile", 495, 7215, 555, 795},
    {SkinPicture::ImgSetting, "imgSetting", 1410, 7215, 555, 780},
    {SkinPicture::ImgSave, "imgSave", 2415, 7215, 555, 765},
    {SkinPicture::ImgBegin, "imgBegin", 3450, 7215, 450, 765},
    {SkinPicture::ImgEnd, "imgEnd", 4095, 7215, 450, 765},
    {SkinPicture::ImgLeftStep, "imgLeftStep", 5040, 7215, 450, 765},
    {SkinPicture::ImgRightStep, "imgRightStep", 5715, 7215, 450, 765},
    {SkinPicture::ImgLeftPlay, "imgLeftPlay", 6840, 7230, 360, 765},
    {SkinPicture::ImgPausePlay, "imgPausePlay", 7380, 7215, 555, 765},
    {SkinPicture::ImgRightPlay, "imgRightPlay", 8160, 7230, 360, 765},
    {SkinPicture::ImgLeftSearch, "imgLeftSearch", 9240, 7215, 450, 765},
    {SkinPicture::ImgRightSearch, "imgRightSearch", 9885, 7215, 435, 765},
    {SkinPicture::ImgZoomOut, "imgZoomOut", 10980, 7215, 450, 765},
    {SkinPicture::ImgZoomIn, "imgZoomIn", 11565, 7215, 450, 765},
};

int px(int twips) { return (twips + 7) / 15; }

bool isSpeedMark(SkinPicture picture) {
  return picture >= SkinPicture::Img1X && picture <= SkinPicture::Img5XN;
}

// The window at 15 twips a pixel; `playing` hides imgCplay and shows one speed mark, as
// forward playback at 3X leaves it.
QImage wholeWindow(bool playing) {
  QImage form(834, 560, QImage::Format_RGB32);
  QPainter p(&form);
  p.setRenderHint(QPainter::SmoothPixmapTransform, true);
  p.drawImage(0, 0, window::paintSkinPicture(SkinPicture::Background));
  p.fillRect(QRect(px(2520), px(1080), px(8970), px(5415)), Qt::black);
  for (const Placed& placed : kPictures) {
    if (placed.width == 0) continue;
    if (isSpeedMark(placed.picture) && !(playing && placed.picture == SkinPicture::Img3X)) continue;
    if (placed.picture == SkinPicture::ImgCplay && playing) continue;
    const QRect target(px(placed.left), px(placed.top), px(placed.width), px(placed.height));
    if (placed.picture == SkinPicture::ImgBar)  // picBar shows its back colour below the track
      p.fillRect(QRect(target.left(), target.top(), target.width(), px(245)),
                 QColor(window::kTimelineGreen));
    p.drawImage(target, window::paintSkinPicture(placed.picture));
  }
  QFont label(QStringLiteral("Liberation Sans"));
  label.setPixelSize(15);
  label.setBold(true);
  p.setFont(label);
  p.setPen(Qt::black);
  p.drawText(QPoint(px(2500 + 3300) + 2, px(6825) + 14), QStringLiteral("1234"));
  return form;
}

QImage sheet() {
  const int zoom = 4;
  QImage out(1400, 1000, QImage::Format_RGB32);
  out.fill(QColor(120, 120, 120));
  QPainter p(&out);
  int x = 8, y = 8, rowHeight = 0;
  for (const Placed& placed : kPictures) {
    if (placed.picture == SkinPicture::Background || placed.picture == SkinPicture::ImgBar)
      continue;
    const QImage image = window::paintSkinPicture(placed.picture);
    const QSize size = image.size() * zoom;
    if (x + size.width() > out.width()) {
      x = 8;
      y += rowHeight + 8;
      rowHeight = 0;
    }
    p.drawImage(QRect(QPoint(x, y), size), image);
    x += size.width() + 8;
    rowHeight = qMax(rowHeight, size.height());
  }
  return out;
}

}  // namespace

int main(int argc, char** argv) {
  QGuiApplication app(argc, argv);
  if (argc != 2) {
    std::fprintf(stderr, "usage: skin_preview FOLDER\n");
    return 2;
  }
  const QDir dir(QString::fromLocal8Bit(argv[1]));
  if (!QDir().mkpath(dir.path())) {
    std::fprintf(stderr, "cannot make %s\n", argv[1]);
    return 1;
  }
  bool ok = true;
  const auto save = [&](const QImage& image, const QString& name) {
    if (!image.save(dir.filePath(name))) {
      std::fprintf(stderr, "cannot write %s\n", qPrintable(dir.filePath(name)));
      ok = false;
    }
  };
  for (const Placed& placed : kPictures)
    save(window::paintSkinPicture(placed.picture), QString::fromLatin1(placed.name) + ".png");
  save(sheet(), QStringLiteral("sheet_4x.png"));
  const QImage start = wholeWindow(false);
  save(start, QStringLiteral("window.png"));
  save(wholeWindow(true), QStringLiteral("window_playing.png"));
  save(start.copy(0, 430, 834, 130).scaled(834 * 2, 130 * 2),
       QStringLiteral("window_bottom_2x.png"));
  return ok ? 0 : 1;
}
