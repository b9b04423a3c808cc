// Which contact is which, and what is to be done about it.
#include <gtest/gtest.h>

#include "desktop/backup/ContactPlan.h"

namespace test {
namespace {

using brelix::Contact;
using brelix::ContactField;
using brelix::backup::Deed;

struct Person {
  uint32_t oid;
  const char* name;
  const char* body = "";
  const char* picture = "";
};

std::vector<brelix::backup::ContactMark> Marks(const std::vector<Person>& people) {
  std::vector<brelix::backup::ContactMark> marks;
  for (const Person& person : people) {
    Contact contact;
    contact.oid = person.oid;
    contact[ContactField::kFirstName] = person.name;
    contact[ContactField::kBody] = person.body;
    const std::string_view picture = person.picture;
    contact.picture.assign(picture.begin(), picture.end());
    marks.push_back(brelix::backup::MarkOf(contact, static_cast<uint32_t>(marks.size() + 1)));
  }
  return marks;
}

// "same 1, change 2, make": by the positions on the phone.
std::string Plan(const std::vector<Person>& backup, const std::vector<Person>& phone, bool all_read = true) {
  std::string text;
  for (const auto& planned : PlanContacts(Marks(backup), Marks(phone), all_read)) {
    const std::string at = std::to_string(planned.on_phone.position);
    text += text.empty() ? "" : ", ";
    switch (planned.deed) {
      case Deed::kMake:
        text += "make";
        break;
      case Deed::kLeave:
        text += "leave";
        break;
      case Deed::kNothing:
        text += "same " + at;
        break;
      case Deed::kChange:
        text += "change " + at;
        break;
    }
  }
  return text;
}

TEST(ContactPlan, WhatIsThereStays) {
  EXPECT_EQ(Plan({{1, "Ada"}, {2, "Ben"}}, {{1, "Ada"}, {2, "Ben"}}), "same 1, same 2");
  EXPECT_EQ(Plan({{1, "Ada"}}, {{7, "Ben"}, {9, "Ada"}}), "same 2") << "under another object id";
  EXPECT_EQ(Plan({{1, "Ada"}}, {}), "make");
  EXPECT_EQ(Plan({}, {{1, "Ada"}}), "");
}

TEST(ContactPlan, OnesThatAreAlikeCountOnceEach) {
  EXPECT_EQ(Plan({{1, "Ada"}, {2, "Ada"}}, {{8, "Ada"}}), "same 1, make");
  EXPECT_EQ(Plan({{1, "Ada"}, {2, "Ada"}}, {{8, "Ada"}, {9, "Ada"}}), "same 1, same 2");
  // The one that kept its place is not taken by one that is alike.
  EXPECT_EQ(Plan({{1, "Ada", "x"}, {2, "Ada"}}, {{1, "Ada"}, {2, "Ada"}}), "change 1, same 2");
}

TEST(ContactPlan, AContactIsChangedOnlyWhereItIsTheSamePerson) {
  EXPECT_EQ(Plan({{1, "Ada", "old"}}, {{1, "Ada", "new"}}), "change 1");
  EXPECT_EQ(Plan({{1, "Ada"}}, {{1, "Ben"}}), "make") << "the object id went to somebody else";
  EXPECT_EQ(Plan({{1, "Ada", "old"}}, {{7, "Ada", "new"}}), "change 1") << "the only one of the name";
  EXPECT_EQ(Plan({{1, "Ada", "old"}}, {{7, "Ada", "x"}, {8, "Ada", "y"}}), "make") << "which of the two?";
  EXPECT_EQ(Plan({{1, "Ada", "a"}, {2, "Ada", "b"}}, {{7, "Ada", "x"}}), "make, make");
  EXPECT_EQ(Plan({{1, "", "old"}}, {{1, "", "new"}}), "make") << "nobody's name";
}

TEST(ContactPlan, OneThatDidNotGetItsPictureIsNotMadeAgain) {
  EXPECT_EQ(Plan({{1, "Ada", "x", "p"}, {2, "Ada", "x", "q"}}, {{8, "Ada", "x"}, {9, "Ada", "x"}}),
            "change 1, change 2");
  EXPECT_EQ(Plan({{1, "", "x", "p"}}, {{8, "", "x"}}), "change 1") << "nobody's name";
  EXPECT_EQ(Plan({{1, "Ada", "x", "p"}, {2, "Ada", "x"}}, {{8, "Ada", "x"}}), "make, same 1")
      << "the one without is it";
  EXPECT_EQ(Plan({{1, "Ada", "x", "p"}}, {{8, "Ada", "x"}, {1, "Ada", "x", "q"}}), "change 2")
      << "its object id says so";
  EXPECT_EQ(Plan({{1, "Ada"}, {2, "Ada"}}, {{8, "Ada", "", "p"}, {9, "Ada", "", "p"}}), "make, make")
      << "a picture that the backup does not have is somebody's";
}

TEST(ContactPlan, WhatMayBeAmongTheUnreadIsLeftAlone) {
  EXPECT_EQ(Plan({{1, "Ada"}, {2, "Ben", "old"}, {3, "Carla", "old"}, {4, "Dan", "", "p"}, {5, "Eve"}},
                 {{8, "Ada"}, {2, "Ben", "new"}, {9, "Carla", "new"}, {10, "Dan"}}, false),
            "same 1, change 2, leave, leave, leave");
}

TEST(ContactPlan, AContactWithUnreadableTextsDoesNotTakeAnothersPlace) {
  auto backup = Marks({{1, "Ada"}, {2, "Ada"}});
  backup[0].whole = false;
  const auto planned = PlanContacts(backup, Marks({{1, "Ada"}}));
  EXPECT_EQ(planned[0].deed, Deed::kMake);
  EXPECT_EQ(planned[1].deed, Deed::kNothing);
}

}  // namespace
}  // namespace test
