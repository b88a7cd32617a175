#include "RtfReader.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace pelorinnews::test {

namespace {

constexpr std::size_t maxDepth = 32;

bool isLetter(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

class Reader {
public:
    explicit Reader(QByteArrayView rtf) : _rtf(rtf) {}

    RtfReading read() {
        if (!_rtf.startsWith("{\\rtf1"))
            fail("no RTF");
        while (_at < _rtf.size() && _reading.error == nullptr)
            readNext();
        if (!_groups.empty())
            fail("an open group");
        if (isInRow(1))
            fail("a row without an end");
        return _reading;
    }

private:
    struct Group {
        bool skipped = false;
        bool optional = false;
        int fallback = 1;
        int tableDepth = 0;
    };

    void fail(const char *error) {
        if (_reading.error == nullptr)
            _reading.error = error;
    }

    Group &group() { return _groups.back(); }

    void readNext() {
        const char byte = _rtf[_at++];
        if (byte == '{') {
            openGroup();
        } else if (_groups.empty()) {
            if (byte != '\n')
                fail("text after the end");
        } else if (byte == '}') {
            _groups.pop_back();
            _skip = 0;
        } else if (byte == '\\') {
            readControl();
        } else if (byte != '\n' && byte != '\r') {
            if (byte < 0x20 || byte > 0x7E)
                fail("a byte that is not printable ASCII");
            add(QLatin1Char(byte));
        }
    }

    void openGroup() {
        if (_groups.empty() && _at > 1)
            return fail("a second document");
        _groups.push_back(_groups.empty() ? Group() : group());
        group().optional = false;
        _skip = 0;
    }

    /// Adds a character, unless it is one of the fallbacks after `\u`.
    void add(QChar character) {
        if (_skip > 0)
            --_skip;
        else if (!group().skipped)
            _reading.text += character;
    }

    void readControl() {
        if (_at >= _rtf.size())
            return fail("a backslash at the end");
        if (isLetter(_rtf[_at]))
            return readWord();
        const char symbol = _rtf[_at++];
        switch (symbol) {
            case '\'':
                readByte();
                break;
            case '*':
                group().optional = true;
                break;
            case '~':
                add(QChar(QChar::Nbsp));
                break;
            case '-':
                add(QChar(QChar::SoftHyphen));
                break;
            case '_':
                add(QChar(0x2011));
                break;
            case '\\':
            case '{':
            case '}':
                add(QLatin1Char(symbol));
                break;
            default:
                fail("an unknown control symbol");
        }
    }

    void readByte() {
        const QByteArray digits =
            _rtf.sliced(_at, std::min<qsizetype>(2, _rtf.size() - _at)).toByteArray();
        bool valid = false;
        const int value = digits.toInt(&valid, 16);
        if (!valid || digits.size() != 2)
            return fail("no two digits after \\'");
        _at += 2;
        // Where windows-1252 differs from Latin-1, our writer uses \u.
        add(QChar(value));
    }

    void readWord() {
        const qsizetype start = _at;
        while (_at < _rtf.size() && isLetter(_rtf[_at]))
            ++_at;
        const QByteArrayView word = _rtf.sliced(start, _at - start);
        const qsizetype number = _at;
        if (_at + 1 < _rtf.size() && _rtf[_at] == '-' && isDigit(_rtf[_at + 1]))
            ++_at;
        while (_at < _rtf.size() && isDigit(_rtf[_at]))
            ++_at;
        const QByteArray value = _rtf.sliced(number, _at - number).toByteArray();
        bool valid = true;
        const int parameter = value.isEmpty() ? 1 : value.toInt(&valid);
        if (!valid)
            return fail("a number beyond its range");
        if (_at < _rtf.size() && _rtf[_at] == ' ')
            ++_at;
        if (_skip > 0)
            return fail("a control word in place of a fallback character");
        obey(word, parameter);
    }

    void obey(QByteArrayView word, int parameter) {
        static constexpr std::array destinations{"fonttbl", "colortbl", "stylesheet", "info",
                                                 "nonesttables"};
        const bool optional = std::exchange(group().optional, false);
        if (word == "pict") {
            add(QChar(QChar::ObjectReplacementCharacter));
            group().skipped = true;
        } else if (std::find(destinations.begin(), destinations.end(), word) !=
                       destinations.end() ||
                   (optional && word != "nesttableprops")) {
            group().skipped = true;
        } else if (!group().skipped) {
            obeyInText(word, parameter);
        }
    }

    void obeyInText(QByteArrayView word, int parameter) {
        if (word == "u") {
            add(QChar(static_cast<char16_t>(parameter)));
            _skip = group().fallback;
        } else if (word == "uc") {
            group().fallback = parameter;
        } else if (word == "tab") {
            add(QLatin1Char('\t'));
        } else if (word == "line") {
            add(QChar(QChar::LineSeparator));
        } else if (word == "par") {
            if (group().tableDepth == 0 && isInRow(1))
                fail("a paragraph between cells");
            add(QLatin1Char('\n'));
        } else if (word == "pard") {
            group().tableDepth = 0;
        } else if (word == "itap") {
            if (parameter < 0 || static_cast<std::size_t>(parameter) >= maxDepth)
                return fail("tables nested too deep");
            group().tableDepth = parameter;
        } else if (word == "cell" || word == "nestcell") {
            endCell(word == "cell");
        } else if (word == "trowd") {
            _columns = 0;
            _edge = 0;
        } else if (word == "cellx") {
            if (parameter <= _edge)
                fail("a cell without width");
            _edge = parameter;
            ++_columns;
        } else if (word == "row" || word == "nestrow") {
            endRow(word == "row");
        }
    }

    void endCell(bool outermost) {
        if (outermost != (group().tableDepth == 1) || group().tableDepth == 0)
            return fail("a cell at another depth than its text");
        if (isInRow(depth() + 1))
            fail("a nested row without an end");
        ++_cells[depth()];
        add(QLatin1Char('\n'));
    }

    void endRow(bool outermost) {
        if (outermost != (group().tableDepth == 1) || group().tableDepth == 0)
            return fail("a row at another depth than its cells");
        if (_cells[depth()] != _columns)
            fail("a row with another number of cells than its definition");
        _cells[depth()] = 0;
    }

    [[nodiscard]] std::size_t depth() const {
        return static_cast<std::size_t>(_groups.back().tableDepth);
    }

    /// Whether a table at `depth` or deeper has cells after its last finished row.
    [[nodiscard]] bool isInRow(std::size_t depth) const {
        return std::any_of(_cells.begin() + static_cast<std::ptrdiff_t>(depth), _cells.end(),
                           [](int cells) { return cells > 0; });
    }

    QByteArrayView _rtf;
    qsizetype _at = 0;
    RtfReading _reading;
    std::vector<Group> _groups;
    /// Number of fallback characters still to skip.
    int _skip = 0;
    /// Cells since the last row, by table depth.
    std::array<int, maxDepth + 1> _cells{};
    int _columns = 0;
    int _edge = 0;
};

}  // namespace

RtfReading readRtf(QByteArrayView rtf) {
    return Reader(rtf).read();
}

}  // namespace pelorinnews::test
