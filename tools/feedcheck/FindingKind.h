#pragma once

#include <QLatin1String>

#include <vector>

namespace pelorinnews {

/// The kinds of findings. Each is explained in docs/feedcheck.md under its name.
enum class FindingKind {
    SourceUnreadable,
    HttpStatus,
    DocumentEmpty,
    DocumentUtf16,
    DocumentNotUtf8,
    DocumentHttpHead,
    DocumentHtml,
    DocumentJson,
    DocumentAtom,
    DocumentRdf,
    DeclarationLate,
    EncodingIgnored,
    AmpersandBare,
    EntityUndeclared,
    EntityRefused,
    LimitExceeded,
    XmlBroken,
    FeedEmpty,
    LanguageMissing,
    LanguageEmpty,
    LanguageBlank,
    LanguageUnknown,
    LanguageOther,
    LanguageRepeated,
    LanguageInItem,
    ItemUnclosed,
    ItemDuplicate,
    ItemOrder,
    ElementMisspelt,
    ElementRepeated,
    ElementUnread,
    TextUnread,
    ContentEncoded,
    MarkupOutsideCdata,
    CdataReplacesText,
    TitleMissing,
    TitleHtml,
    CommentsMissing,
    CommentsAddress,
    CommentsHtml,
    CategoryMissing,
    CategoryUnshown,
    CategoryCritical,
    DateMissing,
    DateUnreadable,
    DateRegion,
    DateScript,
    DateFuture,
    DateYear,
    DateWeekday,
    DescriptionMissing,
    HtmlEscaped,
    LinkUnread,
    LinkRelative,
    LinkLocal,
    PictureRelative,
    PictureLocal,
    PictureAlternative,
    PictureLarge,
    PictureUnshown,
    PageScript,
    PageFrame,
    PageMedia,
    PageForm,
    PagePlugin,
    PageRefresh,
    PageStyleSheet,
    PageLong,
};

/// The name that output and documentation use, such as "language-unknown". Names never change.
[[nodiscard]] QLatin1String nameOf(FindingKind kind);

/// Whether readers miss something: an item, a part of it, its date, or its announcement. Otherwise
/// the finding is a warning: readers get something else than the editor probably meant.
[[nodiscard]] bool isError(FindingKind kind);

/// Whether the panel stops reading the document at such a finding.
[[nodiscard]] bool breaksOff(FindingKind kind);

/// All kinds, in the order above.
[[nodiscard]] std::vector<FindingKind> allFindingKinds();

}  // namespace pelorinnews
