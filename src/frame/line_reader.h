// Reading a text line by line, for every parser whose input is made of lines.
#ifndef QEL_SRC_FRAME_LINE_READER_H_
#define QEL_SRC_FRAME_LINE_READER_H_

#include "qel/frame/text.h"

namespace qel::internal {

// Lines end at LF; a CR just before the LF is not part of the line. A break at the very end
// opens no further line, so an empty text has no lines. The views point into the text given.
class LineReader {
 public:
  explicit LineReader(TextView text) : text_(text) {}

  // The next line into *line; false when the text is exhausted.
  bool Next(TextView* line) {
    if (pos_ >= text_.size()) return false;
    size_t end = text_.find(u'\n', pos_);
    const size_t next = end == TextView::npos ? text_.size() : end + 1;
    if (end == TextView::npos) end = text_.size();
    *line = text_.substr(pos_, end - pos_);
    if (end < text_.size() && !line->empty() && line->back() == u'\r') line->remove_suffix(1);
    pos_ = next;
    return true;
  }

 private:
  TextView text_;
  size_t pos_ = 0;
};

}  // namespace qel::internal

#endif  // QEL_SRC_FRAME_LINE_READER_H_
