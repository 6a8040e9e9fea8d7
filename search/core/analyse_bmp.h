#pragma once

// The module AnalyseBMP: which cells of the picture changed between two frames that follow each
// other. It takes a frame's picture as the bitmap the converter makes of it (clip::Frame), reduces
// it to a grid of cells with one mean brightness each, and compares the newest two grids against
// a threshold chosen anew from each pair. It reads no file and shows no box: it says what it
// refused, and its caller shows the box.
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
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "clip/frame.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/vb_types.h"

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

// Why a frame was not analysed.
enum class BitmapRefusal {
  None,
  NotBmp,    // no "BM": also a frame without a picture, as a missing or empty bitmap file reads
  Not24Bit,  // biBitCount is not 24
  Silent,    // given up without a word (see AnalyseFrame)
};

// The box the module's caller shows for a refusal: "It is not BMP file. " or "The BMP file is
// not 24 bit! ", critical, titled "Warning"; nullopt for None and Silent.
std::optional<toolkit::MessageBoxRequest> refusalBox(BitmapRefusal refusal);

class AnalyseBMP {
 public:
  struct Result {
    Long changed;  // ChangedCellCount
    BitmapRefusal refusal = BitmapRefusal::None;
  };

  // Reduces the frame's bitmap to cells of CellSize pixels, stores the means in the buffer
  // StoreInA/StoreInB names, compares when due, and returns ChangedCellCount. A comparison is due
  // when the frame goes into CellMeansB, or into CellMeansA while SearchPhaseA is False and
  // SearchPhaseB True. Cell sums the frame carries for this cell size are taken as they are.
  //
  // A refused bitmap leaves every variable but ChangedCellCount and ChangedCells as it was, and
  // says why: NotBmp for a frame without a picture or without "BM", Not24Bit, or Silent for
  // biClrUsed other than 0, a width or height of 0 or less, more than toolkit::kMaxPicturePixels
  // pixels, and a file shorter than its rows need (reading zeros in place of its missing rows
  // would report them as changes).
  //
  // CellSize must be positive; 0 raises "Division by zero" (11), below 0 "Subscript out of
  // range" (9). ChangeThreshold is a checked 16-bit value: "Low" adds 50 at every comparison whose
  // sweep finds no threshold, and after some 650 of them in a row that is "Overflow" (6).
  Result AnalyseFrame(const clip::FramePtr& frame, Integer CellSize, Boolean SearchPhaseA,
                      Boolean SearchPhaseB);

  // Rounds each sum half to even, divides it by 256 (the pixels of a 16 x 16 cell, whatever the
  // cell size) and stores the means in the chosen buffer, afresh. Then, when a comparison is due,
  // ChooseThreshold and FindChangedCells. With StoreInA and StoreInB not exactly one True,
  // nothing is stored or compared. Two buffers of different lengths are not compared.
  void StoreCellMeans(std::int64_t CellCount, std::span<const Single> CellSums,
                      Boolean SearchPhaseA, Boolean SearchPhaseB);

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
  // The brightness of each pixel of the last bitmap analysed, bottom row first: worked out when
  // asked for, from the picture the module keeps, since a search never needs it.
  std::vector<Single> LumaPixels() const;

 private:
  struct Shape {
    std::int32_t width;
    std::int32_t height;
    std::size_t rowBytes;
  };

  // The header checks; nullopt with the refusal for a bitmap that is not analysed.
  static std::optional<Shape> checkBitmap(std::span<const std::uint8_t> file,
                                          BitmapRefusal& refusal);
  // Makes the frame the last picture and stores its means.
  void commit(const clip::FramePtr& frame, const Shape& shape, std::int32_t cellSize,
              std::span<const Single> sums, Boolean SearchPhaseA, Boolean SearchPhaseB);

  clip::FramePtr m_last;
  Shape m_lastShape{0, 0, 0};
  std::vector<Single> m_cellSums;
  std::optional<int> m_sweepThreshold;
};

}  // namespace search
