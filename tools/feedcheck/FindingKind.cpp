#include "FindingKind.h"

#include <algorithm>
#include <array>

namespace pelorinnews {

namespace {

enum class Severity { Error, Warning };

struct Row {
    FindingKind kind;
    QLatin1String name;
    Severity severity;
};

constexpr Severity error = Severity::Error;
constexpr Severity warning = Severity::Warning;

constexpr std::array rows = {
    Row{FindingKind::SourceUnreadable, QLatin1String("source-unreadable"), error},
    Row{FindingKind::HttpStatus, QLatin1String("http-status"), error},
    Row{FindingKind::DocumentEmpty, QLatin1String("document-empty"), error},
    Row{FindingKind::DocumentUtf16, QLatin1String("document-utf-16"), error},
    Row{FindingKind::DocumentNotUtf8, QLatin1String("document-not-utf-8"), error},
    Row{FindingKind::DocumentHttpHead, QLatin1String("document-http-head"), error},
    Row{FindingKind::DocumentHtml, QLatin1String("document-html"), error},
    Row{FindingKind::DocumentJson, QLatin1String("document-json"), error},
    Row{FindingKind::DocumentAtom, QLatin1String("document-atom"), error},
    Row{FindingKind::DocumentRdf, QLatin1String("document-rdf"), error},
    Row{FindingKind::DeclarationLate, QLatin1String("declaration-late"), error},
    Row{FindingKind::EncodingIgnored, QLatin1String("encoding-ignored"), warning},
    Row{FindingKind::AmpersandBare, QLatin1String("ampersand-bare"), error},
    Row{FindingKind::EntityUndeclared, QLatin1String("entity-undeclared"), error},
    Row{FindingKind::EntityRefused, QLatin1String("entity-refused"), error},
    Row{FindingKind::LimitExceeded, QLatin1String("limit-exceeded"), error},
    Row{FindingKind::XmlBroken, QLatin1String("xml-broken"), error},
    Row{FindingKind::FeedEmpty, QLatin1String("feed-empty"), warning},
    Row{FindingKind::LanguageMissing, QLatin1String("language-missing"), error},
    Row{FindingKind::LanguageEmpty, QLatin1String("language-empty"), error},
    Row{FindingKind::LanguageBlank, QLatin1String("language-blank"), error},
    Row{FindingKind::LanguageUnknown, QLatin1String("language-unknown"), error},
    Row{FindingKind::LanguageOther, QLatin1String("language-other"), error},
    Row{FindingKind::LanguageRepeated, QLatin1String("language-repeated"), warning},
    Row{FindingKind::LanguageInItem, QLatin1String("language-in-item"), warning},
    Row{FindingKind::ItemUnclosed, QLatin1String("item-unclosed"), error},
    Row{FindingKind::ItemDuplicate, QLatin1String("item-duplicate"), warning},
    Row{FindingKind::ItemOrder, QLatin1String("item-order"), warning},
    Row{FindingKind::ElementMisspelt, QLatin1String("element-misspelt"), error},
    Row{FindingKind::ElementRepeated, QLatin1String("element-repeated"), error},
    Row{FindingKind::ElementUnread, QLatin1String("element-unread"), warning},
    Row{FindingKind::TextUnread, QLatin1String("text-unread"), error},
    Row{FindingKind::ContentEncoded, QLatin1String("content-encoded"), error},
    Row{FindingKind::MarkupOutsideCdata, QLatin1String("markup-outside-cdata"), error},
    Row{FindingKind::CdataReplacesText, QLatin1String("cdata-replaces-text"), error},
    Row{FindingKind::TitleMissing, QLatin1String("title-missing"), error},
    Row{FindingKind::TitleHtml, QLatin1String("title-html"), warning},
    Row{FindingKind::CommentsMissing, QLatin1String("comments-missing"), error},
    Row{FindingKind::CommentsAddress, QLatin1String("comments-address"), error},
    Row{FindingKind::CommentsHtml, QLatin1String("comments-html"), warning},
    Row{FindingKind::CategoryMissing, QLatin1String("category-missing"), error},
    Row{FindingKind::CategoryUnshown, QLatin1String("category-unshown"), error},
    Row{FindingKind::CategoryCritical, QLatin1String("category-critical"), warning},
    Row{FindingKind::DateMissing, QLatin1String("date-missing"), error},
    Row{FindingKind::DateUnreadable, QLatin1String("date-unreadable"), error},
    Row{FindingKind::DateRegion, QLatin1String("date-region"), error},
    Row{FindingKind::DateScript, QLatin1String("date-script"), error},
    Row{FindingKind::DateFuture, QLatin1String("date-future"), warning},
    Row{FindingKind::DateYear, QLatin1String("date-year"), warning},
    Row{FindingKind::DateWeekday, QLatin1String("date-weekday"), warning},
    Row{FindingKind::DescriptionMissing, QLatin1String("description-missing"), error},
    Row{FindingKind::HtmlEscaped, QLatin1String("html-escaped"), warning},
    Row{FindingKind::LinkUnread, QLatin1String("link-unread"), warning},
    Row{FindingKind::LinkRelative, QLatin1String("link-relative"), error},
    Row{FindingKind::LinkLocal, QLatin1String("link-local"), error},
    Row{FindingKind::PictureRelative, QLatin1String("picture-relative"), error},
    Row{FindingKind::PictureLocal, QLatin1String("picture-local"), error},
    Row{FindingKind::PictureAlternative, QLatin1String("picture-alternative"), warning},
    Row{FindingKind::PictureLarge, QLatin1String("picture-large"), warning},
    Row{FindingKind::PictureUnshown, QLatin1String("picture-unshown"), warning},
    Row{FindingKind::PageScript, QLatin1String("page-script"), error},
    Row{FindingKind::PageFrame, QLatin1String("page-frame"), warning},
    Row{FindingKind::PageMedia, QLatin1String("page-media"), warning},
    Row{FindingKind::PageForm, QLatin1String("page-form"), warning},
    Row{FindingKind::PagePlugin, QLatin1String("page-plugin"), error},
    Row{FindingKind::PageRefresh, QLatin1String("page-refresh"), warning},
    Row{FindingKind::PageStyleSheet, QLatin1String("page-style-sheet"), warning},
    Row{FindingKind::PageLong, QLatin1String("page-long"), warning},
};

constexpr bool isInOrder() {
    for (std::size_t index = 0; index < rows.size(); ++index) {
        if (rows.at(index).kind != static_cast<FindingKind>(index))
            return false;
    }
    return rows.back().kind == FindingKind::PageLong;
}
static_assert(isInOrder(), "one row for each kind, in the order of the kinds");

const Row &rowOf(FindingKind kind) {
    return rows.at(static_cast<std::size_t>(kind));
}

}  // namespace

QLatin1String nameOf(FindingKind kind) {
    return rowOf(kind).name;
}

bool isError(FindingKind kind) {
    return rowOf(kind).severity == Severity::Error;
}

bool breaksOff(FindingKind kind) {
    switch (kind) {
        case FindingKind::DeclarationLate:
        case FindingKind::AmpersandBare:
        case FindingKind::EntityUndeclared:
        case FindingKind::EntityRefused:
        case FindingKind::LimitExceeded:
        case FindingKind::XmlBroken:
            return true;
        default:
            return false;
    }
}

std::vector<FindingKind> allFindingKinds() {
    std::vector<FindingKind> kinds;
    kinds.reserve(rows.size());
    for (const Row &row : rows)
        kinds.push_back(row.kind);
    return kinds;
}

}  // namespace pelorinnews
