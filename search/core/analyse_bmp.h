#pragma once

// The module AnalyseBMP: which cells of the picture changed between two frames that follow each
// other. Each frame's JPEG is converted to the scratch bitmap "1.bmp" beside it, the bitmap is
// reduced to a grid of cells with one mean brightness each, and the newest two grids are compared
// against a threshold chosen anew from each pair.
//
// The bitmap it reads (little-endian, one 54-byte record from the first byte of the file):
//
//   offset  size  field          use
//        0     2  bfType         must read "BM"
//       18     4  biWidth        pixels per row
//       22     4  biHeight       rows, bottom-up
//       28     2  biBitCount     must be 24
//       46     4  biClrUsed      must be 0
//
// All other fields are ignored; the pixels always start at offset 54, three bytes each (blue,
// green, red), the first row of the file being the bottom row of the picture, each row padded to
// a multiple of 4 bytes.
//
// Wider than the old module's fields: CellRows, CellColumns and PixelCount are 32-bit, the
// histogram and the sweep 64-bit, so a 1920 x 1080 frame, or a difference shared by more than
// 32,767 cells, is compared like any other. ChangeThreshold stays 16-bit.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "toolkit/core/platform.h"
#include "toolkit/core/vb_types.h"

namespace toolkit {
class JpgToBmpConverter;
}

namespace search {

using toolkit::Boolean;
using toolkit::Integer;
using toolkit::Long;
using toolkit::Single;

struct CellPoint {
  Long X;
  Long Y;
  friend bool operator==(const CellPoint&, const CellPoint&) = default;
};

struct ChangedCell {
  Long Column;
  Long Row;
  friend bool operator==(const ChangedCell&, const ChangedCell&) = default;
};

// CellOrigins(row, column) for rows 0 .. CellRows and columns 0 .. CellColumns. An index outside
// is "Subscript out of range" (9), as the old toolkit's arrays raise.
class CellPointGrid {
 public:
  void assign(std::int32_t rows, std::int32_t columns, std::int32_t cellSize);
  const CellPoint& operator()(Long row, Long column) const;
  std::int32_t upperRow() const { return m_rows; }
  std::int32_t upperColumn() const { return m_columns; }

 private:
  std::int32_t m_rows = -1;
  std::int32_t m_columns = -1;
  std::vector<CellPoint> m_points;
};

// What AnalyseFrame takes from the session besides its own arguments.
struct FrameInputs {
  Long ClipWidth;  // handed to JPG_TO_BMP, which does not use them
  Long ClipHeight;
  Boolean SearchPhaseA = toolkit::kTrue;
  Boolean SearchPhaseB = toolkit::kTrue;
};

class AnalyseBMP {
 public:
  // Converts a frame's JPEG to the bitmap at `target`. The default is JPG_TO_BMP; tests hand
  // the comparison bitmaps made byte by byte through one of their own.
  using Converter = std::function<void(const std::string& source, const std::string& target,
                                       Integer width, Integer height)>;

  // `platform` must outlive the module; its files and message boxes are the module's only
  // contact with the outside.
  explicit AnalyseBMP(toolkit::Platform& platform);
  ~AnalyseBMP();
  AnalyseBMP(const AnalyseBMP&) = delete;
  AnalyseBMP& operator=(const AnalyseBMP&) = delete;

  void setConverter(Converter converter);
  // Bitmaps decoded ahead for the conversion of JPG_TO_BMP (see JpgToBmpConverter); none by
  // default.
  void setAheadSource(
      std::function<bool(std::span<const std::uint8_t>, std::vector<std::uint8_t>&)> source);
  // The bitmap file the last conversion made from exactly these JPEG bytes, while it is still in
  // memory; else empty.
  std::span<const std::uint8_t> bitmapOf(std::span<const std::uint8_t> jpeg) const;

  // Converts the frame at JpgPath to "1.bmp" in the same folder, reduces it to cells of
  // CellSize pixels, stores the means in the buffer StoreInA/StoreInB names, compares when due,
  // and returns ChangedCellCount. A comparison is due when the frame goes into CellMeansB, or
  // into CellMeansA while SearchPhaseA is False and SearchPhaseB True.
  //
  // Returns 0 and leaves every variable but ChangedCellCount and ChangedCells as it was when the
  // bitmap is refused: with the box "It is not BMP file. " (no "BM", also for a missing or empty
  // file) or "The BMP file is not 24 bit! "; silently for biClrUsed other than 0, for a width or
  // height of 0 or less, for more than toolkit::kMaxPicturePixels pixels, and for a file shorter
  // than its rows need. Such a file did not come from a whole conversion, and reading zeros in
  // place of its missing rows would report them as changes.
  //
  // CellSize must be positive; 0 raises "Division by zero" (11), below 0 "Subscript out of
  // range" (9). ChangeThreshold is a checked 16-bit value: "Low" adds 50 at every comparison whose
  // sweep finds no threshold, and after some 650 of them in a row that is "Overflow" (6).
  Long AnalyseFrame(const std::string& JpgPath, Integer CellSize, const FrameInputs& inputs);

  // Rounds each sum half to even, divides it by 256 (the pixels of a 16 x 16 cell, whatever the
  // cell size) and stores the means in the chosen buffer, afresh. Then, when a comparison is due,
  // ChooseThreshold and FindChangedCells. With StoreInA and StoreInB not exactly one True,
  // nothing is stored or compared. Two buffers of different lengths are not compared.
  void StoreCellMeans(std::int64_t CellCount, std::span<const Single> CellSums,
                      const FrameInputs& inputs);

  // Otsu's sweep over the histogram of the cell differences, in integer arithmetic. Sets
  // ChangeThreshold to the lowest t with the best score above 0, else leaves it alone.
  void ChooseThreshold();

  // Raises ChangeThreshold to 40, applies Sensitivity to it ("High" -20, "Low" +50) and lists the
  // cells above it, from the fifth row of cells from the bottom upwards, left to right.
  void FindChangedCells();

  // What the last ChooseThreshold found: the t at which its sweep scored best, or nullopt when
  // nothing scored (or no comparison took place in the last AnalyseFrame).
  std::optional<int> sweepThreshold() const { return m_sweepThreshold; }

  // The module's variables.
  Long CellRows;
  Long CellColumns;
  std::string Sensitivity;
  CellPointGrid CellOrigins;
  std::vector<ChangedCell> ChangedCells;  // exactly ChangedCellCount entries
  Long ChangedCellCount;
  std::vector<std::int32_t> CellMeansA;  // one mean, 0 to 255, per cell, in file order
  std::vector<std::int32_t> CellMeansB;
  Boolean StoreInA = toolkit::kFalse;
  Boolean StoreInB = toolkit::kFalse;
  Integer ChangeThreshold;
  Long PixelCount;
  std::vector<Single> LumaPixels;  // PixelCount values, bottom row first

 private:
  struct Shape {
    std::int32_t width;
    std::int32_t height;
    std::size_t rowBytes;
  };

  std::span<const std::uint8_t> readBitmap(const std::string& path);
  // The header checks, with their boxes; nullopt for a bitmap that is not analysed.
  std::optional<Shape> checkBitmap(std::span<const std::uint8_t> file);
  // Brightness and cell sums into the module's scratch buffers; no variable changes yet.
  void reduce(std::span<const std::uint8_t> file, const Shape& shape, std::int32_t cellSize);
  // Makes the reduced frame the last picture and stores its means.
  void commit(const Shape& shape, std::int32_t cellSize, const FrameInputs& inputs);

  toolkit::Platform& m_platform;
  std::unique_ptr<toolkit::JpgToBmpConverter> m_jpgToBmp;
  Converter m_converter;
  std::vector<std::uint8_t> m_fileBytes;
  std::vector<Single> m_nextLuma;
  std::vector<Single> m_cellSums;
  std::optional<int> m_sweepThreshold;
};

}  // namespace search
