// The scene as it is kept: what comes back, and what gives no scene.
#include "shell/SceneFile.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace {

using shell::BytesOfScene;
using shell::LayerKind;
using shell::LayerRecord;
using shell::SavedScene;
using shell::SceneOfBytes;

constexpr std::int64_t kNow = 1'800'000'000;
constexpr std::int64_t kDay = 24 * 60 * 60;

LayerRecord Layer(LayerKind kind, const QString& name, const QString& source = QString()) {
  LayerRecord layer;
  layer.kind = kind;
  layer.name = name;
  layer.source = source;
  layer.place = {10, -20, 640, 360};
  return layer;
}

// Of each kind.
SavedScene Whole() {
  SavedScene scene;
  scene.savedAt = kNow;
  scene.layers = {Layer(LayerKind::kDesk, "全屏桌面"),
                  Layer(LayerKind::kCamera, "摄像头", "Camera \"1\""),
                  Layer(LayerKind::kWindow, "a <b>window</b>\n二"),
                  Layer(LayerKind::kText, "现在\n直播 \U0001F600"),
                  Layer(LayerKind::kPicture, "图片", "/home/o p/图.png"),
                  Layer(LayerKind::kFilm, "视频文件", "/f.mp4")};
  scene.layers[1].shown = false;
  scene.layers[2].place = {};
  scene.layers[3].color = 0xFF8000FF;
  scene.layers[3].measured = "直播";
  scene.layers[3].place = {5, 5, 30000, 100};
  return scene;
}

// The whole scene, with that value at that key of its first layer.
QByteArray WithFirst(const char* key, const QJsonValue& value) {
  QJsonObject json = QJsonDocument::fromJson(BytesOfScene(Whole())).object();
  QJsonArray layers = json.value("layers").toArray();
  QJsonObject first = layers.at(0).toObject();
  first.insert(key, value);
  layers.replace(0, first);
  json.insert("layers", layers);
  return QJsonDocument(json).toJson();
}

// The whole scene, with that value at that key.
QByteArray With(const char* key, const QJsonValue& value) {
  QJsonObject json = QJsonDocument::fromJson(BytesOfScene(Whole())).object();
  json.insert(key, value);
  return QJsonDocument(json).toJson();
}

TEST(SceneFile, EveryKindComesBackAsItWasKept) {
  const SavedScene scene = Whole();
  const std::optional<SavedScene> back = SceneOfBytes(BytesOfScene(scene));
  ASSERT_TRUE(back.has_value());
  EXPECT_EQ(back->savedAt, kNow);
  ASSERT_EQ(back->layers.size(), scene.layers.size());
  for (std::size_t i = 0; i < scene.layers.size(); ++i) {
    EXPECT_TRUE(back->layers[i] == scene.layers[i]) << i;
  }
}

TEST(SceneFile, AnEmptySceneIsAScene) {
  const std::optional<SavedScene> back = SceneOfBytes(BytesOfScene({{}, kNow}));
  ASSERT_TRUE(back.has_value());
  EXPECT_TRUE(back->layers.empty());
}

TEST(SceneFile, CutAtAnyByteItIsNoScene) {
  const QByteArray bytes = BytesOfScene(Whole());
  for (int size = 0; size < bytes.size(); ++size) {
    EXPECT_FALSE(SceneOfBytes(bytes.left(size)).has_value()) << size;
  }
  EXPECT_FALSE(SceneOfBytes(bytes + '}').has_value());
  EXPECT_FALSE(SceneOfBytes(bytes.mid(1)).has_value());
}

TEST(SceneFile, WhatIsNoSceneAtAllIsNone) {
  for (const char* text : {"", "{}", "[]", "null", "7", "\xFF\xFE", "{\"layers\":[]}",
                           "{\"format\":\"orvane scene\",\"version\":1}"}) {
    EXPECT_FALSE(SceneOfBytes(text).has_value()) << text;
  }
  EXPECT_FALSE(SceneOfBytes(QByteArray(1'000'000, '[')).has_value());
  EXPECT_FALSE(SceneOfBytes(QByteArray(1000, '\0')).has_value());
}

TEST(SceneFile, AnotherVersionIsNone) {
  ASSERT_TRUE(SceneOfBytes(With("version", 1)).has_value());
  for (const QJsonValue& version : {QJsonValue(0), QJsonValue(2), QJsonValue(-1), QJsonValue(1.5),
                                    QJsonValue("1"), QJsonValue(true), QJsonValue()}) {
    EXPECT_FALSE(SceneOfBytes(With("version", version)).has_value());
  }
  EXPECT_FALSE(SceneOfBytes(With("format", "another scene")).has_value());
}

TEST(SceneFile, ForeignTypesAndValuesAreNone) {
  const std::pair<const char*, QJsonValue> foreign[] = {
      {"kind", "speaker"},
      {"kind", 0},
      {"kind", QJsonValue()},
      {"name", 7},
      {"name", QJsonArray{"a"}},
      {"source", QJsonObject()},
      {"source", QJsonValue()},
      {"measured", 7},
      {"measured", QJsonValue()},
      {"color", "255"},
      {"color", -1},
      {"color", 4294967296.0},
      {"color", 0.5},
      {"shown", 1},
      {"shown", "true"},
      {"place", "10,10,640,360"},
      {"place", 7},
      {"place", QJsonValue()},
      {"place", QJsonArray()},
      {"place", QJsonArray{1, 2, 3}},
      {"place", QJsonArray{1, 2, 3, 4, 5}},
      {"place", QJsonArray{1, 2, "3", 4}},
      {"place", QJsonArray{1, 2, 3.5, 4}},
      {"place", QJsonArray{1e300, 2, 3, 4}},
      {"place", QJsonArray{100'001, 2, 3, 4}},
      {"place", QJsonArray{1, -100'001, 3, 4}},
      {"place", QJsonArray{1, -2147483648.0, 3, 4}},
      {"place", QJsonArray{1, 2, 0, 4}},
      {"place", QJsonArray{1, 2, 3, -4}},
      {"place", QJsonArray{1, 2, 8193, 4}},
      {"place", QJsonArray{1, 2, 4000, 4000}},
  };
  ASSERT_TRUE(SceneOfBytes(WithFirst("place", QJsonArray{1, 2, 3, 4})).has_value());
  for (const auto& [key, value] : foreign) {
    EXPECT_FALSE(SceneOfBytes(WithFirst(key, value)).has_value())
        << WithFirst(key, value).constData();
  }
  for (const QJsonValue& saved : {QJsonValue("now"), QJsonValue(-1), QJsonValue(1e18)}) {
    EXPECT_FALSE(SceneOfBytes(With("saved", saved)).has_value());
  }
  EXPECT_FALSE(SceneOfBytes(With("layers", "none")).has_value());
  EXPECT_FALSE(SceneOfBytes(With("layers", QJsonArray{1})).has_value());
  EXPECT_FALSE(SceneOfBytes(With("layers", QJsonArray{QJsonValue(QJsonArray())})).has_value());
}

TEST(SceneFile, EachKindNeedsWhatItIsMadeFrom) {
  SavedScene scene;
  for (const LayerRecord& broken :
       {Layer(LayerKind::kText, ""), Layer(LayerKind::kCamera, "摄像头", ""),
        Layer(LayerKind::kPicture, "图片", ""), Layer(LayerKind::kPicture, "图片", "here.png"),
        Layer(LayerKind::kFilm, "视频文件", "../f.mp4"),
        Layer(LayerKind::kFilm, "视频文件", QString("/f.mp4") + QChar(QChar::Null) + "x")}) {
    // Neither written nor, from elsewhere, read.
    scene.layers = {broken};
    const std::optional<SavedScene> kept = SceneOfBytes(BytesOfScene(scene));
    ASSERT_TRUE(kept.has_value());
    EXPECT_TRUE(kept->layers.empty()) << broken.source.toStdString();
  }
  const std::pair<const char*, const char*> foreign[] = {
      {"camera", ""}, {"picture", "here.png"}, {"film", ""}};
  for (const auto& [kind, source] : foreign) {
    const QJsonObject layer = {
        {"kind", kind}, {"name", "n"}, {"source", source}, {"color", 255}, {"shown", true}};
    EXPECT_FALSE(SceneOfBytes(With("layers", QJsonArray{layer})).has_value()) << kind;
  }
}

TEST(SceneFile, MoreLayersThanASceneHoldsAreNone) {
  const QJsonObject layer = {
      {"kind", "desktop"}, {"name", ""}, {"source", ""}, {"color", 255}, {"shown", true}};
  QJsonArray layers;
  for (int i = 0; i < 10; ++i) {
    layers.append(layer);
  }
  EXPECT_TRUE(SceneOfBytes(With("layers", layers)).has_value());
  layers.append(layer);
  EXPECT_FALSE(SceneOfBytes(With("layers", layers)).has_value());
}

// A place that nobody could have dragged it to is that of nobody.
TEST(SceneFile, ALayerOfAnImpossiblePlaceIsKeptWithoutOne) {
  SavedScene scene = Whole();
  scene.layers[0].place = {0, 0, 9000, 9000};
  const std::optional<SavedScene> back = SceneOfBytes(BytesOfScene(scene));
  ASSERT_TRUE(back.has_value());
  EXPECT_EQ(back->layers[0].place.width, 0);
}

TEST(SceneFile, TheLargestSceneIsReadAndALargerFileIsNot) {
  SavedScene scene;
  scene.savedAt = kNow;
  const QString book(100'000, QChar(1));  // six bytes each
  for (int i = 0; i < 10; ++i) {
    scene.layers.push_back(Layer(LayerKind::kPicture, book, "/" + book.left(16383)));
    scene.layers.back().measured = book;
  }
  const QByteArray bytes = BytesOfScene(scene);
  EXPECT_LE(static_cast<std::size_t>(bytes.size()), shell::kMostSceneBytes);
  const std::optional<SavedScene> back = SceneOfBytes(bytes);
  ASSERT_TRUE(back.has_value());
  ASSERT_EQ(back->layers.size(), 10U);
  EXPECT_EQ(back->layers[9].name.size(), shell::kMostSceneText);
  QByteArray larger = bytes;
  larger.append(QByteArray(static_cast<int>(shell::kMostSceneBytes) + 1 - bytes.size(), ' '));
  EXPECT_FALSE(SceneOfBytes(larger).has_value());
  larger.chop(1);
  EXPECT_TRUE(SceneOfBytes(larger).has_value());
}

TEST(SceneFile, ALongTextIsCutBetweenTwoCharacters) {
  const QString face = QString::fromUtf8("\U0001F600");
  ASSERT_EQ(face.size(), 2);
  const QString text = "x" + face.repeated(10'000);
  const QString kept = shell::KeptText(text);
  EXPECT_EQ(kept.size(), shell::kMostSceneText - 1);
  EXPECT_TRUE(text.startsWith(kept));
  EXPECT_TRUE(kept.endsWith(face));
  EXPECT_EQ(shell::KeptText("short"), QString("short"));
}

TEST(SceneFile, HalfACharacterInATextHarmsNoOtherLayer) {
  SavedScene scene = Whole();
  scene.layers[3].name = QString("x") + QChar(0xD800) + QChar(QChar::Null);
  const std::optional<SavedScene> back = SceneOfBytes(BytesOfScene(scene));
  ASSERT_TRUE(back.has_value());
  EXPECT_EQ(back->layers.size(), scene.layers.size());
}

TEST(SceneFile, IsOfferedForADayWhenSomethingIsInIt) {
  SavedScene scene = Whole();
  const std::pair<std::int64_t, bool> ages[] = {{0, true},   {kDay, true},       {kDay + 1, false},
                                                {-60, true}, {-kDay - 1, false}, {kNow, false}};
  for (const auto& [age, offered] : ages) {
    EXPECT_EQ(shell::MayBeOffered(scene, kNow + age), offered) << age;
  }
  scene.layers.clear();
  EXPECT_FALSE(shell::MayBeOffered(scene, kNow));
}

}  // namespace
