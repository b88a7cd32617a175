#include "ServerAnswers.h"

#include "Deflate.h"
#include "Gzip.h"

namespace pelorinnews::test {

namespace {

using Outcome = ServerAnswer::Outcome;
using End = Script::End;

/// Builds the list of answers.
class Answers {
public:
    void whole(const QByteArray &name, const QByteArray &bytes,
               const QByteArray &body = answeredBody(), int status = 200,
               int channels = ServerAnswer::All) {
        _list.append({name, {{bytes}}, Outcome::Whole, status, body, channels});
    }
    void error(const char *name, const QByteArray &bytes, int channels = ServerAnswer::All) {
        _list.append({name, {{bytes}}, Outcome::Error, 0, {}, channels});
    }
    void reset(const char *name, const QByteArray &bytes) {
        // The connection ends with RST, which may discard bytes that were sent before. So a loader
        // may report a status or none.
        _list.append({name, {{bytes}, End::Reset}, Outcome::Error, 0, {}, ServerAnswer::Plain});
    }
    void status(const char *name, const QByteArray &bytes, int status, Outcome outcome) {
        _list.append({name, {{bytes}}, outcome, status, {}, ServerAnswer::All});
    }
    void slow(const char *name, const QList<QByteArray> &pieces, Outcome outcome) {
        const auto end = outcome == Outcome::Timeout ? End::Hold : End::Close;
        _list.append({name,
                      {pieces, end, std::chrono::milliseconds(300)},
                      outcome,
                      200,
                      outcome == Outcome::Whole ? answeredBody() : QByteArray(),
                      ServerAnswer::Plain | ServerAnswer::Tls});
    }
    void add(const ServerAnswer &answer) { _list.append(answer); }

    [[nodiscard]] QList<ServerAnswer> take() { return std::move(_list); }

private:
    QList<ServerAnswer> _list;
};

/// The start of a response: status line, the header fields `lines` and the empty line. Adds all
/// line ends.
QByteArray head(const QByteArray &status, const QList<QByteArray> &lines = {}) {
    QByteArray text = "HTTP/1.1 " + status + "\r\n";
    for (const QByteArray &line : lines)
        text += line + "\r\n";
    return text + "\r\n";
}

QByteArray ok(const QList<QByteArray> &lines = {}) {
    return head("200 OK", lines);
}

QByteArray length(qsizetype value) {
    return "Content-Length: " + QByteArray::number(value);
}

/// A complete response with this status.
QByteArray answer(const QByteArray &status = "200 OK") {
    const QByteArray body = answeredBody();
    return head(status, {length(body.size())}) + body;
}

const QByteArray chunkedLine = "Transfer-Encoding: chunked";

QByteArray chunk(const QByteArray &bytes) {
    return QByteArray::number(bytes.size(), 16) + "\r\n" + bytes + "\r\n";
}

QByteArray chunkedAnswer(const QByteArray &rest) {
    return ok({chunkedLine}) + rest;
}

QByteArray coded(const QByteArray &coding, const QByteArray &bytes) {
    return ok({"Content-Encoding: " + coding, length(bytes.size())}) + bytes;
}

void addLengths(Answers &answers) {
    const QByteArray body = answeredBody();
    const QByteArray right = length(body.size());
    answers.whole("a body of its length", answer());
    answers.whole("a length of 0", ok({length(0)}), "");
    answers.whole("a body that the connection's end ends", ok() + body, body, 200,
                  ServerAnswer::Plain | ServerAnswer::Tls);
    answers.whole("no body and no length", ok(), "", 200, ServerAnswer::Plain | ServerAnswer::Tls);
    answers.error("a body that the connection's end ends, cut", ok() + body,
                  ServerAnswer::TlsWithoutNotify);
    answers.error("no body and no length, cut", ok(), ServerAnswer::TlsWithoutNotify);
    answers.whole("HTTP/1.0 to the connection's end", "HTTP/1.0 200 OK\r\n\r\n" + body, body, 200,
                  ServerAnswer::Plain | ServerAnswer::Tls);
    answers.whole("a body longer than its length", answer() + "more");
    answers.error("a body one byte shorter than its length", ok({length(body.size() + 1)}) + body);
    answers.error("a head whose body does not come", ok({right}));
    answers.error("a length far beyond the body", ok({length(100'000)}) + body);
    answers.reset("a body that a reset cuts", ok({right}) + body.left(5));
    answers.whole("two equal lengths", ok({right, right}) + body);
    answers.error("two different lengths, the right one first", ok({right, length(5)}) + body);
    answers.error("two different lengths, the right one last", ok({length(5), right}) + body);
    answers.error("two lengths in one line", ok({length(5) + ", 7"}) + body);
    answers.error("a negative length", ok({"Content-Length: -5"}) + body);
    answers.error("a length with a sign", ok({"Content-Length: +5"}) + body);
    answers.error("a length that is no number", ok({"Content-Length: many"}) + body);
    answers.error("a length with something behind it", ok({right + "x"}) + body);
    answers.error("an empty length", ok({"Content-Length:"}) + body);
    answers.error("a length that overflows", ok({"Content-Length: 99999999999999999999"}) + body);
    answers.error(
        "a length that overflows to the right one",
        ok({"Content-Length: 184467440737095516" + QByteArray::number(16 + body.size())}) + body);
    answers.whole("blanks around a length",
                  ok({"Content-Length: \t " + QByteArray::number(body.size()) + " \t"}) + body);
}

void addChunks(Answers &answers) {
    const QByteArray body = answeredBody();
    const QByteArray first = chunk(body.left(7));
    const QByteArray both = first + chunk(body.mid(7));
    const QByteArray last = "0\r\n\r\n";
    answers.whole("one chunk", chunkedAnswer(chunk(body) + last));
    answers.whole("two chunks", chunkedAnswer(both + last));
    answers.whole("no chunk but the last", chunkedAnswer(last), "");
    answers.whole("a long chunk size", chunkedAnswer("000000" + both + "000" + last));
    answers.whole("a chunk size in capitals",
                  chunkedAnswer("1A\r\n" + QByteArray(26, 'x') + "\r\n" + last),
                  QByteArray(26, 'x'));
    answers.whole("chunk extensions", chunkedAnswer("7;name=value\r\n" + body.left(7) + "\r\n" +
                                                    chunk(body.mid(7)) + "0;last\r\n\r\n"));
    answers.whole("trailers", chunkedAnswer(both + "0\r\nX-Sum: 1\r\nX-More: 2\r\n\r\n"));
    answers.whole("chunks and a length", ok({chunkedLine, length(5)}) + both + last);
    answers.whole("chunked in capitals", ok({"transfer-encoding: CHUNKED"}) + both + last);

    answers.error("chunks: cut after the head", chunkedAnswer(""));
    answers.error("chunks: cut in a size", chunkedAnswer(first + "1"));
    answers.error("chunks: cut after a size", chunkedAnswer(first + "8\r"));
    answers.error("chunks: cut before data", chunkedAnswer(first + "8\r\n"));
    answers.error("chunks: cut in data", chunkedAnswer(first + "8\r\n" + body.mid(7, 3)));
    answers.error("chunks: cut after data", chunkedAnswer(first + "8\r\n" + body.mid(7, 8)));
    answers.error("chunks: cut in the end of data",
                  chunkedAnswer(first + "8\r\n" + body.mid(7, 8) + "\r"));
    answers.error("chunks: cut between two", chunkedAnswer(first));
    answers.error("chunks: cut before the last", chunkedAnswer(both));
    answers.error("chunks: cut in the last", chunkedAnswer(both + "0"));
    answers.error("chunks: cut after the last", chunkedAnswer(both + "0\r\n"));
    // The final chunk has arrived; only the last byte of the line end after it is missing.
    answers.whole("chunks: cut before the last byte", chunkedAnswer(both + "0\r\n\r"));
    answers.error("chunks: cut in trailers", chunkedAnswer(both + "0\r\nX-Sum: 1\r\n"));
    answers.reset("chunks: a reset between two", chunkedAnswer(first));
    answers.error("a large chunked body cut half-way",
                  chunkedAnswer(chunk(QByteArray(100'000, 'x')) + chunk(QByteArray(100'000, 'y'))));

    answers.error("a chunk size that is no number",
                  chunkedAnswer(first + "zz\r\n" + body + "\r\n" + last));
    answers.error("an empty chunk size", chunkedAnswer(first + "\r\n" + body + "\r\n" + last));
    answers.error("a negative chunk size", chunkedAnswer(first + "-1\r\n" + body + "\r\n" + last));
    answers.error("a chunk size with a prefix",
                  chunkedAnswer("0x7\r\n" + body.left(7) + "\r\n" + last));
    answers.error("a chunk size that overflows to the right one",
                  chunkedAnswer("10000000000000007\r\n" + body.left(7) + "\r\n" + last));
    answers.error("a chunk size beyond all memory",
                  chunkedAnswer("7FFFFFFFFFFFFFFF\r\n" + body + "\r\n" + last));
    answers.error("a chunk longer than its size", chunkedAnswer("5\r\n" + body + "\r\n" + last));
    answers.error("a chunk shorter than its size",
                  chunkedAnswer("9\r\n" + body.left(7) + "\r\n" + last));
    answers.error("an unknown transfer coding", ok({"Transfer-Encoding: rot13"}) + body);
    answers.error("a compressed transfer coding",
                  ok({"Transfer-Encoding: gzip, chunked"}) + chunk(gzip(body)) + last);
}

void addInterimAnswers(Answers &answers) {
    const QByteArray continuing = "HTTP/1.1 100 Continue\r\n\r\n";
    const QByteArray hints = "HTTP/1.1 103 Early Hints\r\nLink: </a.css>; rel=preload\r\n\r\n";
    answers.whole("100 before the answer", continuing + answer());
    answers.whole("102 before the answer", "HTTP/1.1 102 Processing\r\n\r\n" + answer());
    answers.whole("103 before the answer", hints + answer());
    answers.whole("103 with a length before the answer",
                  "HTTP/1.1 103 Early Hints\r\nContent-Length: 3\r\n\r\n" + answer());
    answers.whole("199 before the answer", "HTTP/1.1 199 Odd\r\n\r\n" + answer());
    answers.whole("several interim answers", continuing + hints + hints + answer());
    answers.whole("103 before a chunked answer",
                  hints + chunkedAnswer(chunk(answeredBody()) + "0\r\n\r\n"));
    answers.error("103 before a cut body", hints + answer().chopped(3));
    answers.error("103 and no answer", hints);
    answers.error("101 unasked",
                  "HTTP/1.1 101 Switching Protocols\r\nUpgrade: h2c\r\n\r\n" + answer());
    ServerAnswer endless{"interim answers without an end", {{hints}}, Outcome::Error, 0, {}};
    endless.script.endless = true;
    answers.add(endless);
}

void addStatuses(Answers &answers) {
    const QByteArray body = answeredBody();
    answers.whole("204", head("204 No Content"), "", 204);
    answers.whole("204 with a length", head("204 No Content", {length(5)}), "", 204);
    answers.whole("304", head("304 Not Modified"), "", 304);
    answers.whole("304 with the length of what it spares", head("304 Not Modified", {length(500)}),
                  "", 304);
    answers.whole("304 with a coding", head("304 Not Modified", {"Content-Encoding: gzip"}), "",
                  304);
    answers.whole("299", answer("299 Odd"), body, 299);
    answers.whole("399", answer("399 Odd"), body, 399);
    for (const char *code : {"400", "401", "403", "404", "407", "410", "429", "500", "503", "599"})
        answers.whole(code, answer(QByteArray(code) + " Odd"), body, QByteArray(code).toInt());
    answers.whole("404 with an empty body", head("404 Not Found", {length(0)}), "", 404);
    answers.whole("503 to the connection's end", head("503 Later") + body, body, 503,
                  ServerAnswer::Plain | ServerAnswer::Tls);
    answers.whole("a status without a phrase", answer("200"));
    answers.status("404 with a cut body", head("404 Not Found", {length(500)}) + body, 404,
                   Outcome::StatusAndError);
    answers.status("500 with cut chunks", head("500 Ouch", {chunkedLine}) + chunk(body), 500,
                   Outcome::StatusAndError);
    answers.status("500 with a bad chunk size", head("500 Ouch", {chunkedLine}) + "zz\r\n", 500,
                   Outcome::StatusAndError);
    answers.status("404 with a coding that is none",
                   head("404 Not Found", {"Content-Encoding: gzip", length(body.size())}) + body,
                   404, Outcome::StatusAndError);
    answers.error("an empty connection", "");
    answers.reset("a reset before the head", "");
    answers.error("a cut status line", "HTTP/1.1 20");
    answers.error("a cut head", "HTTP/1.1 200 OK\r\nContent-Le");
    answers.error("a head without its last line", "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n");
    answers.error("a body without a head", body);
    answers.error("another protocol", "220 mail.example.org ready\r\n");
    answers.error("a status that is no number", "HTTP/1.1 abc OK\r\nContent-Length: 0\r\n\r\n");
    answers.error("a status of two digits", "HTTP/1.1 20 OK\r\nContent-Length: 0\r\n\r\n");
}

void addCodings(Answers &answers) {
    const QByteArray body = answeredBody();
    const QByteArray zipped = gzip(body);
    answers.whole("gzip", coded("gzip", zipped));
    answers.whole("gzip by its old name", coded("x-gzip", zipped));
    answers.whole("gzip in capitals", coded("GZIP", zipped));
    answers.whole("gzip in chunks", ok({"Content-Encoding: gzip", chunkedLine}) +
                                        chunk(zipped.left(9)) + chunk(zipped.mid(9)) + "0\r\n\r\n");
    answers.whole("gzip to the connection's end", ok({"Content-Encoding: gzip"}) + zipped, body,
                  200, ServerAnswer::Plain | ServerAnswer::Tls);
    answers.whole("gzip in two members", coded("gzip", gzip(body.left(9)) + gzip(body.mid(9))));
    answers.whole("deflate", coded("deflate", deflated(body, zlibFormat)));
    answers.whole("deflate without its wrapping", coded("deflate", deflated(body, rawFormat)));
    answers.whole("identity", coded("identity", body));
    answers.whole("an empty gzip", coded("gzip", gzip("")), "");
    answers.whole("gzip of the most that is taken",
                  coded("gzip", gzip(QByteArray(maxAnswerBody, 'x'))),
                  QByteArray(maxAnswerBody, 'x'));
    answers.error("gzip of one byte more", coded("gzip", gzip(QByteArray(maxAnswerBody + 1, 'x'))));
    answers.error("gzip of twenty times more",
                  coded("gzip", gzip(QByteArray(20 * maxAnswerBody, 'x'))));
    answers.error("a cut gzip of its length", coded("gzip", zipped.chopped(10)));
    answers.error("a gzip without its check sum", coded("gzip", zipped.chopped(8)));
    answers.error("a gzip without its last byte", coded("gzip", zipped.chopped(1)));
    answers.error("a gzip cut by the connection's end",
                  ok({"Content-Encoding: gzip"}) + zipped.chopped(4));
    answers.error("a cut gzip in whole chunks", ok({"Content-Encoding: gzip", chunkedLine}) +
                                                    chunk(zipped.left(9)) + "0\r\n\r\n");
    answers.error("a gzip with something behind it", coded("gzip", zipped + "behind"));
    QByteArray wrongSum = zipped;
    wrongSum[wrongSum.size() - 6] = char(wrongSum[wrongSum.size() - 6] ^ 1);
    answers.error("a gzip with a wrong check sum", coded("gzip", wrongSum));
    answers.error("a body called gzip that is none", coded("gzip", body));
    answers.error("an empty body called gzip", coded("gzip", ""));
    answers.error("a cut deflate of its length",
                  coded("deflate", deflated(body, zlibFormat).chopped(4)));
    answers.error("a deflate with something behind it",
                  coded("deflate", deflated(body, zlibFormat) + "behind"));
    answers.error("a coding that was not asked for", coded("br", body));
    answers.error("two codings", coded("gzip, gzip", gzip(zipped)));
    answers.error(
        "two codings in two lines",
        ok({"Content-Encoding: gzip", "Content-Encoding: gzip", length(gzip(zipped).size())}) +
            gzip(zipped));
}

void addHeads(Answers &answers) {
    const QByteArray body = answeredBody();
    const QByteArray right = length(body.size());
    answers.whole("a folded header", ok({"X-Folded: one", " two", "\tthree", right}) + body);
    answers.whole("bytes beyond ASCII in a header",
                  ok({"X-Odd: gr\xfc\xc3\xbc\x01", right}) + body);
    answers.whole("an empty header", ok({"X-Empty:", right}) + body);
    answers.whole("header names in odd case",
                  ok({"cOnTeNt-LeNgTh: " + QByteArray::number(body.size())}) + body);
    answers.whole(
        "lines that end in LF alone",
        "HTTP/1.1 200 OK\nContent-Length: " + QByteArray::number(body.size()) + "\n\n" + body);
    answers.whole("a header of 8 KB", ok({"X-Long: " + QByteArray(8'000, 'x'), right}) + body);
    answers.whole("a hundred headers",
                  ok(QList<QByteArray>(100, "X-Many: 1") + QList<QByteArray>{right}) + body);
    answers.error("a NUL in a header", ok({QByteArray("X-Nul: a\0b", 10), right}) + body);
    answers.error("a header of 1 MB", ok({"X-Long: " + QByteArray(1'000'000, 'x'), right}) + body);
    answers.error("headers of 1 MB",
                  ok(QList<QByteArray>(10'000, "X-Many: " + QByteArray(100, 'x'))) + body);
    ServerAnswer endless{"headers without an end",
                         {{"HTTP/1.1 200 OK\r\n", QByteArray("X-Many: 1\r\n").repeated(100)}},
                         Outcome::Error,
                         0,
                         {}};
    endless.script.endless = true;
    answers.add(endless);
    endless.name = "a header line without an end";
    endless.script.pieces = {"HTTP/1.1 200 OK\r\nX-Long: ", QByteArray(10'000, 'x')};
    answers.add(endless);
    endless.name = "a body without an end";
    endless.script.pieces = {ok(), QByteArray(10'000, 'x')};
    answers.add(endless);
    endless.name = "chunks without an end";
    endless.script.pieces = {ok({chunkedLine}), chunk(QByteArray(10'000, 'x'))};
    answers.add(endless);
    answers.whole("a body of the most that is taken",
                  ok({length(maxAnswerBody)}) + QByteArray(maxAnswerBody, 'x'),
                  QByteArray(maxAnswerBody, 'x'));
    answers.error("a body of one byte more",
                  ok({length(maxAnswerBody + 1)}) + QByteArray(maxAnswerBody + 1, 'x'));
    ServerAnswer open{"a connection that stays open behind the body",
                      {{answer()}, End::Hold},
                      Outcome::Whole,
                      200,
                      body};
    open.channels = ServerAnswer::Plain | ServerAnswer::Tls;
    answers.add(open);
}

void addRedirects(Answers &answers) {
    const QByteArray body = answeredBody();
    // The server chooses its answer by the first part of the path: for a number ("/7/folder/feed"),
    // the answer with that number; for "/whole", a complete response.
    const auto to = [](const QByteArray &location, const QByteArray &status = "302 Found") {
        return head(status, {"Location: " + location, length(0)});
    };
    for (const char *code : {"301", "302", "303", "307", "308"})
        answers.whole(QByteArray("redirect by ") + code, to("/whole", code));
    answers.whole("redirect to a relative address", to("../../whole"));
    answers.whole("redirect with a query", to("/whole?a=b&c"));
    answers.whole("redirect with a fragment", to("/whole#part"));
    answers.whole("redirect without an end of its body",
                  head("302 Found", {"Location: /whole", length(500)}) + "moved");
    answers.whole("redirect with a whole body",
                  head("302 Found", {"Location: /whole", length(5)}) + "moved");
    answers.whole("redirect without a length", head("302 Found", {"Location: /whole"}) + "moved",
                  body, 200, ServerAnswer::Plain | ServerAnswer::Tls);
    answers.whole("302 without an address", answer("302 Found"), body, 302);
    answers.whole("300 with an address",
                  head("300 Choose", {"Location: /whole", length(body.size())}) + body, body, 300);
    answers.error("redirect to a file", to("file:///etc/hostname"));
    answers.error("redirect to an unknown scheme", to("olvane:feed"));
    answers.error("redirect to nowhere", to("http://"));
    answers.error("redirect to itself", to(""));
}

void addSlowAnswers(Answers &answers) {
    const QByteArray body = answeredBody();
    const QByteArray whole = answer();
    // Each header line takes longer than the idle timeout, but no single piece does.
    QList<QByteArray> drip;
    for (qsizetype at = 0; at < whole.size(); at += 4)
        drip += whole.mid(at, 4);
    answers.slow("a slow head and body", drip, Outcome::Whole);
    answers.slow("a head that does not come", {}, Outcome::Timeout);
    answers.slow("a stall in the head", {"HTTP/1.1 200 OK\r\nContent-"}, Outcome::Timeout);
    answers.slow("a stall after 103", {"HTTP/1.1 103 Early Hints\r\n\r\n"}, Outcome::Timeout);
    answers.slow("a stall before the body", {ok({length(5)})}, Outcome::Timeout);
    answers.slow("a stall in the body", {whole.chopped(2)}, Outcome::Timeout);
    answers.slow("a stall in a chunk", {chunkedAnswer("a\r\nabc")}, Outcome::Timeout);
    answers.slow("a stall before the last chunk", {chunkedAnswer(chunk(body))}, Outcome::Timeout);
}

}  // namespace

QByteArray answeredBody() {
    return "<rss>gr\xc3\xbcn</rss>";
}

QList<ServerAnswer> serverAnswers() {
    Answers answers;
    // Slow answers first, because they take the longest: the test loads many answers in parallel.
    addSlowAnswers(answers);
    addLengths(answers);
    addChunks(answers);
    addInterimAnswers(answers);
    addStatuses(answers);
    addCodings(answers);
    addHeads(answers);
    addRedirects(answers);
    return answers.take();
}

}  // namespace pelorinnews::test
