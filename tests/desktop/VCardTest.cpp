#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "desktop/Failure.h"
#include "desktop/vcard/VCardReader.h"
#include "desktop/vcard/VCardWriter.h"
#include "tests/desktop/FullContact.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

namespace brelix {
namespace {

using enum ContactField;
using test::FullContact;

std::vector<ImportedCard> Read(const std::string& text) {
  std::istringstream in(text);
  VCardReader reader(in, "people.vcf");
  std::vector<ImportedCard> cards;
  while (auto card = reader.Next()) cards.push_back(std::move(*card));
  return cards;
}

ImportedCard ReadOne(const std::string& lines) {
  auto cards = Read("BEGIN:VCARD\r\n" + lines + "END:VCARD\r\n");
  EXPECT_EQ(cards.size(), 1u);
  return cards.at(0);
}

void ExpectRoundTrip(const Contact& contact) {
  for (const VCardVersion version : {VCardVersion::k30, VCardVersion::k40}) {
    const std::string text = WriteVCard(contact, version);
    const auto cards = Read(text);
    ASSERT_EQ(cards.size(), 1u);
    EXPECT_EQ(cards[0].error, std::nullopt);
    EXPECT_EQ(cards[0].remarks, std::vector<std::string>{}) << text;
    for (const FieldChange& change : Changes(contact, cards[0].contact))
      ADD_FAILURE() << NameOf(change.field) << ": \"" << change.before << "\" became \"" << change.after << "\" in\n"
                    << text;
    EXPECT_EQ(cards[0].contact.picture, contact.picture);
  }
}

TEST(VCard, GivesBackEveryFieldInBothVersions) {
  ExpectRoundTrip(FullContact());
  ExpectRoundTrip(Contact());
  // Each field alone: what stands in for a missing name, or is told apart by order only, must not move.
  for (size_t i = 2; i < kContactFields; i++) {
    Contact one;
    one.fields[i] = FullContact().fields[i];
    ExpectRoundTrip(one);
  }
}

TEST(VCard, GivesBackTextsThatAVCardCannotHold) {
  const char* const odd[] = {
      "two\r\nlines",   "two\nlines",
      "old\rlines",     "\r\n",
      " blanks ",       "a;b,c\\d\\n:e\"f",
      "A, B",           "A,B",
      "A,  B,",         "\xED\xA0\xBD lone surrogate",
      "\x01\x1F\x7F\t", "caf\xC3\xA9 \xF0\x9F\x98\x80",
      "im:x",           "xmpp:a@b",
      "=3D=\r\n",       "END:VCARD\r\nBEGIN:VCARD",
  };
  for (const char* text : odd) {
    Contact contact;
    for (size_t i = 2; i < kContactFields; i++) contact.fields[i] = text;
    ExpectRoundTrip(contact);
  }
  Contact noon;
  noon[kBirthday] = "1970-05-01T12:30:00";
  ExpectRoundTrip(noon);
}

TEST(VCard, FoldsAtSeventyFiveBytesAndNeverInsideACharacter) {
  for (size_t lead = 0; lead < 80; lead++) {
    Contact contact;
    contact[kBody] = std::string(lead, 'x');
    for (int i = 0; i < 40; i++) contact[kBody] += i % 2 == 0 ? "\xE2\x82\xAC" : "\xF0\x9F\x98\x80";
    std::istringstream text(WriteVCard(contact, VCardVersion::k30));
    for (std::string line; std::getline(text, line);) {
      ASSERT_TRUE(line.ends_with('\r'));
      EXPECT_LE(line.size() - 1, 75u);
      EXPECT_NE(static_cast<uint8_t>(line[line.starts_with(' ') ? 1 : 0]) & 0xC0, 0x80) << line;
    }
  }
}

TEST(VCard, StandsInTheUsualPlaces) {
  const std::string text = WriteVCard(FullContact(), VCardVersion::k30);
  for (const char* line : {"BEGIN:VCARD\r\nVERSION:3.0\r\n", "N:last name;first name;middle name;title;suffix\r\n",
                           "FN:title first name middle name last name suffix\r\n", "ORG:company name;department\r\n",
                           "TEL;TYPE=HOME,VOICE:home telephone number\r\n", "TEL;TYPE=WORK,FAX:business fax number\r\n",
                           "EMAIL;TYPE=INTERNET:email 2 address\r\n", "BDAY:1970-05-01\r\n",
                           "ADR;TYPE=WORK:;;business address street;business address city;business addr\r\n ess state;",
                           "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4A"})
    EXPECT_NE(text.find(line), text.npos) << line << "\nin\n" << text;
  EXPECT_EQ(text.find("EXACT"), text.npos);
  const std::string text40 = WriteVCard(FullContact(), VCardVersion::k40);
  for (const char* line : {"VERSION:4.0\r\n", "BDAY:19700501\r\n", "ANNIVERSARY:19990615\r\n",
                           "RELATED;VALUE=text;TYPE=spouse:spouse\r\n", "PHOTO:data:image/jpeg;base64,/9j/4A"})
    EXPECT_NE(text40.find(line), text40.npos) << line << "\nin\n" << text40;
}

// Another reader finds every value where it looks for it.
constexpr const char* kSecondReader = R"(
import base64, hashlib, json, sys, vobject
def texts(card, name, kind):
    return sorted(x.value for x in card.contents.get(name, []) if kind in [t.upper() for t in x.params.get('TYPE', [])])
cards = list(vobject.readComponents(open(sys.argv[1], encoding='utf-8', newline='').read()))
card = cards[0]
photo = card.photo.value
work = [a.value for a in card.contents['adr'] if 'WORK' in a.params['TYPE']][0]
print(json.dumps({
    'cards': len(cards), 'fn': card.fn.value, 'family': card.n.value.family, 'given': card.n.value.given,
    'additional': card.n.value.additional, 'prefix': card.n.value.prefix, 'suffix': card.n.value.suffix,
    'org': card.org.value, 'title': card.title.value, 'note': card.note.value, 'bday': card.bday.value,
    'cell': texts(card, 'tel', 'CELL'), 'fax': texts(card, 'tel', 'FAX'), 'home': texts(card, 'tel', 'HOME'),
    'mail': [x.value for x in card.contents['email']], 'street': work.street, 'city': work.city, 'code': work.code,
    'categories': card.categories.value, 'fileas': card.contents['x-brelix-fileas'][0].value,
    'photo': hashlib.sha256(photo).hexdigest() if len(photo) > 99 else 'short'}))
)";

TEST(VCard, IsReadTheSameByAnotherReader) {
  Contact contact = FullContact();
  contact[kBody] = "one, two; three\\\r\nfour \xE2\x82\xAC " + std::string(200, 'x') + " \xF0\x9F\x98\x80";
  contact[kCategories] = "a, b";
  contact[kLastName] = "O'Neill; Sr.";
  contact[kBusinessAddressStreet] = "1 Main Street\r\nFlat 2, left";
  const ::test::TemporaryFolder folder;
  const std::string file = (folder.Path() / "people.vcf").string();
  std::ofstream(file, std::ios::binary) << WriteVCard(contact, VCardVersion::k30)
                                        << WriteVCard(Contact(), VCardVersion::k30);
  const ::test::Outcome read = ::test::Run({"/usr/bin/python3", "-c", kSecondReader, file});
  ASSERT_EQ(read.code, 0) << read.err;
  const auto found = nlohmann::json::parse(read.out);
  const nlohmann::json expected = {
      {"cards", 2},
      {"fn", "title first name middle name O'Neill; Sr. suffix"},
      {"family", "O'Neill; Sr."},
      {"given", "first name"},
      {"additional", "middle name"},
      {"prefix", "title"},
      {"suffix", "suffix"},
      {"org", {"company name", "department"}},
      {"title", "job title"},
      {"note", "one, two; three\\\nfour \xE2\x82\xAC " + std::string(200, 'x') + " \xF0\x9F\x98\x80"},
      {"bday", "1970-05-01"},
      {"cell", {"mobile telephone number"}},
      {"fax", {"business fax number", "home fax number"}},
      {"home", {"home 2 telephone number", "home fax number", "home telephone number"}},
      {"mail", {"email 1 address", "email 2 address", "email 3 address"}},
      {"street", "1 Main Street\nFlat 2, left"},
      {"city", "business address city"},
      {"code", "business address postal code"},
      {"categories", {"a", "b"}},
      {"fileas", "file as"},
      {"photo", found["photo"]},
  };
  EXPECT_EQ(found, expected);
  // sha256sum of the picture, by another program again.
  const std::string picture = (folder.Path() / "picture").string();
  std::ofstream(picture, std::ios::binary)
      .write(reinterpret_cast<const char*>(contact.picture.data()),
             static_cast<std::streamsize>(contact.picture.size()));
  EXPECT_TRUE(::test::Run({"/usr/bin/sha256sum", picture}).out.starts_with(found["photo"].get<std::string>()));
}

TEST(VCard, ReadsVersion21) {
  const Contact contact = ReadOne(
                              "VERSION:2.1\r\n"
                              "N;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:M=FCller;J=F6rg\r\n"
                              "TEL;HOME;VOICE:1\r\nTEL;CELL:2\r\nTEL;WORK;FAX:3\r\nTEL;HOME:4\r\nTEL:5\r\n"
                              "NOTE;QUOTED-PRINTABLE;CHARSET=UTF-8:one=0D=0A=\r\ntwo =E2=82=\r\n=AC=3D\r\n"
                              "ADR;WORK;ENCODING=QUOTED-PRINTABLE:;;1 Main=0D=0AStreet;Town\\;ship;;;\r\n"
                              "TITLE:caf\xE9\r\n"
                              "ORG:Folded at\r\n a blank\r\n"
                              "PHOTO;JPEG;ENCODING=BASE64:\r\n/9j/\r\n 4AAQ\r\n\r\n"
                              "BDAY:19700501\r\n")
                              .contact;
  EXPECT_EQ(contact[kLastName], "M\xC3\xBCller");
  EXPECT_EQ(contact[kFirstName], "J\xC3\xB6rg");
  EXPECT_EQ(contact[kHomeTelephoneNumber], "1");
  EXPECT_EQ(contact[kMobileTelephoneNumber], "2");
  EXPECT_EQ(contact[kBusinessFaxNumber], "3");
  EXPECT_EQ(contact[kHome2TelephoneNumber], "4");
  EXPECT_EQ(contact[kBusinessTelephoneNumber], "5");
  EXPECT_EQ(contact[kBody], "one\r\ntwo \xE2\x82\xAC=");
  EXPECT_EQ(contact[kBusinessAddressStreet], "1 Main\r\nStreet");
  EXPECT_EQ(contact[kBusinessAddressCity], "Town;ship");
  EXPECT_EQ(contact[kJobTitle], "caf\xC3\xA9");
  EXPECT_EQ(contact[kCompanyName], "Folded at a blank");
  EXPECT_EQ(contact.picture, (Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10}));
  EXPECT_EQ(contact[kBirthday], "1970-05-01");
}

TEST(VCard, ReadsWhatOthersWrite) {
  const ImportedCard card = ReadOne(
      "version:4.0\r\nfn:Ada Example\r\nitem1.tel;VALUE=uri;TYPE=\"voice,work\":tel:+1-555-0100\r\n"
      "email;PREF=1:a@example.org\r\nADR;TYPE=home:PO 7;Flat 2;1 Main Street;Town;;12345;\r\n"
      "BDAY:1970-05-01T23:30:00-08:00\r\nX-JABBER:ada@example.org\r\nCATEGORIES:one,two\r\nCATEGORIES:three\r\n"
      "NOTE:first\\nsecond\r\nNOTE:third\r\nNICKNAME:\r\nREV:20090712T134501Z\r\n"
      "PHOTO:data:image/png;base64,iVBO\r\n");
  EXPECT_EQ(card.remarks, std::vector<std::string>{});
  EXPECT_EQ(card.contact[kFirstName], "Ada Example");
  EXPECT_EQ(card.contact[kBusinessTelephoneNumber], "+1-555-0100");
  EXPECT_EQ(card.contact[kEmail1Address], "a@example.org");
  EXPECT_EQ(card.contact[kHomeAddressStreet], "PO 7\r\nFlat 2\r\n1 Main Street");
  EXPECT_EQ(card.contact[kHomeAddressPostalCode], "12345");
  EXPECT_EQ(card.contact[kBirthday], "1970-05-01");
  EXPECT_EQ(card.contact[kIM1Address], "xmpp:ada@example.org");
  EXPECT_EQ(card.contact[kCategories], "one, two, three");
  EXPECT_EQ(card.contact[kBody], "first\r\nsecond\r\nthird");
  EXPECT_EQ(card.contact.picture, (Bytes{0x89, 'P', 'N'}));
}

TEST(VCard, TellsWhatAPhoneHasNoFieldFor) {
  const ImportedCard card = ReadOne(
      "VERSION:3.0\r\nN:Example;Ada\r\nX-SHOE-SIZE:42\r\nTEL;TYPE=CELL:1\r\nTEL;TYPE=CELL:2\r\nBDAY:--0501\r\n"
      "BDAY:1970-02-30\r\nPHOTO;VALUE=uri:http://example.org/a.jpg\r\nnot a line\r\nTITLE;CHARSET=KLINGON:x\r\n");
  const std::vector<std::string> expected = {
      "line 10: \"not a line\" is no line of a vCard",
      "line 4: X-SHOE-SIZE has no field left on a phone: \"42\"",
      "line 6: TEL has no field left on a phone: \"2\"",
      "line 7: BDAY is no date that a phone can hold: \"--0501\"",
      "line 8: BDAY is no date that a phone can hold: \"1970-02-30\"",
      "line 9: PHOTO has no field left on a phone: \"http://example.org/a.jpg\"",
      "line 11: TITLE is in an encoding that is not known",
  };
  EXPECT_EQ(card.remarks, expected);
  EXPECT_EQ(card.contact[kLastName], "Example");
}

TEST(VCard, ACardWithABrokenPhotoIsNotUsedAndTheNextOneIs) {
  const auto cards = Read(
      "BEGIN:VCARD\nVERSION:3.0\nN:a\nPHOTO;ENCODING=b:/9j/4\nEND:VCARD\n\nBEGIN:VCARD\nVERSION:3.0\nN:b\nEND:VCARD\n");
  ASSERT_EQ(cards.size(), 2u);
  EXPECT_EQ(cards[0].error, "line 4: PHOTO is not whole base64; the picture is cut or damaged");
  EXPECT_EQ(cards[1].contact[kLastName], "b");
  EXPECT_EQ(cards[1].line, 7u);
}

TEST(VCard, FilesThatAreNoneAreRefusedWithTheLine) {
  const std::string photo = WriteVCard(FullContact(), VCardVersion::k30);
  std::string many;
  for (int i = 0; i < 90; i++) many += "NOTE:" + std::string(100000, 'x') + "\n";
  struct Row {
    std::string text, says;
  };
  const Row rows[] = {
      {std::string("\xFF\xD8\xFF\xE0\x00\x10", 6), "people.vcf:1: this is no vCard file: it holds binary data"},
      {"<html>", "people.vcf:1: a card must begin here"},
      {"\xFF\xFE"
       "B",
       "people.vcf:1: the file is UTF-16"},
      {"BEGIN:VCARD\nVERSION:5.0\nEND:VCARD\n", "people.vcf:2: vCard version \"5.0\""},
      {"BEGIN:VCARD\nN:a\n", "people.vcf:2: the file ends inside the card that begins on line 1"},
      {photo.substr(0, photo.size() - 200), ", in its PHOTO; it is cut off"},
      {"BEGIN:VCARD\nN:a\nBEGIN:VCARD\n", "people.vcf:3: a card begins inside the one that begins on line 1"},
      {"BEGIN:VCARD\nEND:VCARD\nN:a\n", "people.vcf:3: a card must begin here"},
      {std::string(9 << 20, 'x'), "people.vcf:1: a line of more than 8388608 bytes"},
      {"BEGIN:VCARD\n" + many, "has more than 8388608 bytes"},
  };
  for (const Row& row : rows) {
    try {
      Read(row.text);
      ADD_FAILURE() << row.says;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), Exit::kLocalFile);
      EXPECT_NE(std::string(failure.what()).find(row.says), std::string::npos) << failure.what();
    }
  }
  EXPECT_TRUE(Read("").empty());
  EXPECT_EQ(Read("\xEF\xBB\xBF"
                 "BEGIN:VCARD\rN:a\rEND:VCARD\r")
                .size(),
            1u);
}

}  // namespace
}  // namespace brelix
