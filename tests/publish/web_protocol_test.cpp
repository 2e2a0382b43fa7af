// The request reader and the answer texts, without sockets.

#include "publish/web_request.h"
#include "publish/web_response.h"

#include <string>

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(WebRequestParse, WaitsForTheEmptyLineAndTakesThePathTheOldWay) {
    std::string request = "GET /Canvas01.jpg?t=17 HTTP/1.1\r\nHost: cam\r\n";
    EXPECT_EQ(ParseWebRequest(request).result, WebParse::Incomplete);
    request += "\r\nGET /next HTTP/1.1\r\n";
    WebRequestParse parse = ParseWebRequest(request);
    ASSERT_EQ(parse.result, WebParse::Get);
    EXPECT_EQ(parse.path, "Canvas01.jpg?t=17");
    EXPECT_EQ(parse.length, request.find("GET /next"));
    EXPECT_FALSE(parse.keep_alive);

    // Keep-alive in any letter case; the method's letters compared in capitals; a path that
    // holds "HTTP" is kept whole; only one leading slash goes.
    parse =
        ParseWebRequest("get /HTTPdocs/a.htm HTTP/1.0\r\nCONNECTION: Keep-Alive\r\nX: GET\r\n\r\n");
    ASSERT_EQ(parse.result, WebParse::Get);
    EXPECT_EQ(parse.path, "HTTPdocs/a.htm");
    EXPECT_TRUE(parse.keep_alive);
    EXPECT_EQ(ParseWebRequest("GET // HTTP/1.1\r\n\r\n").path, "/");
    EXPECT_EQ(ParseWebRequest("GET / HTTP/1.1\r\n\r\n").path, "");

    // Without the letters GET anywhere nothing is done yet, however complete it looks.
    EXPECT_EQ(ParseWebRequest("get / HTTP/1.1\r\n\r\n").result, WebParse::Incomplete);
    EXPECT_EQ(ParseWebRequest("POST /form HTTP/1.1\r\n\r\nGET=1").result, WebParse::NotAnswered);
    EXPECT_EQ(ParseWebRequest("GET\r\n\r\n").result, WebParse::BadRequest);
    EXPECT_EQ(ParseWebRequest("GET /index.htm\r\n\r\n").result, WebParse::BadRequest);
}

TEST(WebRequestParse, AHeaderOverSixteenKilobytesIsRefused) {
    std::string header = "GET / HTTP/1.1\r\nX: ";
    header.append(kMaxWebRequestHeader - header.size() - 4, 'a');
    EXPECT_EQ(ParseWebRequest(header + "\r\n\r\n").result, WebParse::Get); // exactly 16 KB
    EXPECT_EQ(ParseWebRequest(header + "a\r\n\r\n").result, WebParse::TooLarge);
    EXPECT_EQ(ParseWebRequest(std::string(kMaxWebRequestHeader, 'x')).result, WebParse::TooLarge);
    // A request that will never be answered cannot grow the buffer past the limit either.
    std::string post = "POST / HTTP/1.1\r\n\r\nGET";
    EXPECT_EQ(ParseWebRequest(post).result, WebParse::NotAnswered);
    post.append(kMaxWebRequestHeader, 'b');
    EXPECT_EQ(ParseWebRequest(post).result, WebParse::TooLarge);
}

TEST(WebResponse, TheLinesByteForByte) {
    EXPECT_EQ(FileResponseHeader("2023-03-15 12:00:00", "text/html", 18),
              "HTTP/1.1 200 OK\r\n"
              "Server: Tessarolle Web Server\r\n"
              "Date: 2023-03-15 12:00:00\r\n"
              "Content-Type: text/html\r\n"
              "Pragma: no-cache\r\n"
              "cache-control: no-cache, must-revalidate\r\n"
              "Cache-control: no-cache, must-revalidate\r\n"
              "Expires: Mon, 26 Jul 1997 05:00:00 GMT\r\n"
              "Content-Length: 18\r\n"
              "\r\n");
    EXPECT_EQ(JpegResponseHeader("2023-03-15 12:00:01", "2023-03-15 12:00:00", 1234),
              "HTTP/1.1 200 OK\r\n"
              "Server: Tessarolle Web Server\r\n"
              "Date: 2023-03-15 12:00:01\r\n"
              "Content-Type: image/jpeg\r\n"
              "Pragma: no-cache\r\n"
              "cache-control: no-cache, must-revalidate\r\n"
              "Cache-control: no-cache, must-revalidate\r\n"
              "Expires: Mon, 26 Jul 1997 05:00:00 GMT\r\n"
              "Last-Modified: 2023-03-15 12:00:00\r\n"
              "Content-Length: 1234\r\n"
              "\r\n");
    EXPECT_EQ(NotFoundResponse("2023-03-15 12:00:00"), "HTTP/1.0 404 Not Found\r\n"
                                                       "Server: Tessarolle Web Server\r\n"
                                                       "Date: 2023-03-15 12:00:00\r\n"
                                                       "Content-Type: text/html\r\n"
                                                       "Content-Length: 0\r\n"
                                                       "\r\n");

    EXPECT_EQ(WebDateText(45000.5), "2023-03-15 12:00:00");
    EXPECT_EQ(WebDateText(45000.5 + 59.6 / 86400), "2023-03-15 12:01:00");
    WebDateCache dates;
    EXPECT_EQ(dates.Text(45000.5 + 1.2 / 86400), "2023-03-15 12:00:01");
    EXPECT_EQ(dates.Text(45000.5 + 2.1 / 86400), "2023-03-15 12:00:02");
}

TEST(WebResponse, ContentTypesByLowerCaseExtension) {
    EXPECT_EQ(ContentTypeFor("index.HTM"), "text/html");
    EXPECT_EQ(ContentTypeFor("clips/show.mov"), "movie/quicktime");
    EXPECT_EQ(ContentTypeFor("show.qt"), "video/quicktime");
    EXPECT_EQ(ContentTypeFor("a.MPG"), "movie/mpeg");
    EXPECT_EQ(ContentTypeFor("rain.rpm"), "audio/x-pn-realaudio-plugin");
    EXPECT_EQ(ContentTypeFor("offair.jpe"), "image/jpeg");
    EXPECT_EQ(ContentTypeFor("data.csv"), "text/plain");
    EXPECT_EQ(ContentTypeFor("dir.jpg/README"), "text/plain");
    EXPECT_EQ(ContentTypeFor("trailing."), "text/plain");
}

} // namespace
} // namespace tess
