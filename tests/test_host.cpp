#include "ExpectThrow.h"

#include "zeblib2core/Throw.h"

#include <functional>
#include <memory>
#include <thread>

using namespace TOLX;

TEST(HostString, ArgFillsTheLowestPlaceholderPrintfHasNoLimitAndThrowsRecordTheFile)
{
    CString s("%2 then %1, again %1 and %3", ENCODING_UTF8);
    EXPECT_STREQ(s.Arg(int64{7}).Arg('x').c_str(), "x then 7, again 7 and %3");
    // Inserted text takes part in later calls; at last nothing is left to fill.
    EXPECT_STREQ(s.Arg(CString("<%1>", ENCODING_UTF8)).Arg(-5).Arg(1).c_str(), "x then 7, again 7 and <-5>");
    CString two("%10%1 %0 %", ENCODING_UTF8); // "%10" is placeholder ten; "%0" and a lone '%' are text
    EXPECT_STREQ(two.Arg(int64{1}).Arg(int64{2}).c_str(), "21 %0 %");
    EXPECT_EQ(CStringTools::Printf("%s %%0%ulu", "object", 2u), "object %02lu");
    EXPECT_EQ(CStringTools::Printf("%s!", std::string(5000, 'a').c_str()).size(), 5001u);
    ExpectThrowAt([] { TOLX_THROW("TOLX::Test::Site", 42, "value %1 of %2", 3u, std::string("x")); }, "value 3 of x",
                  "TOLX::Test::Site", "tests/test_host.cpp", 42);
    const std::pair<const char*, const char*> paths[] = {
        {"/abs/clone/src/Numeric/Matrix.cpp", "src/Numeric/Matrix.cpp"},
        {"/usr/include/VornNumeric/Numeric/Moment.h", "src/Numeric/Moment.h"},
        {"/opt/x/include/VornNumeric/zeblib2core/Value.h", "host/zeblib2core/Value.h"},
        {"/home/src/Numeric/clone/src/Numeric/Face.cpp", "src/Numeric/Face.cpp"}};
    for (const auto& [path, relative] : paths) EXPECT_EQ(Impl::RepoRelativePath(path), relative);
}

TEST(HostValues, MapsKeepInsertionOrderOwnAndCopyDeeplyAtAnySize)
{
    CValueMap map;
    map.SetEntry("b", new CValueDouble(1.5));
    map.SetEntry("a", new CValueLong(0x1'0000'0005L)); // keeps the low 32 bits
    auto* vector = new CValueVector();
    vector->SetEntry(0, new CValueDouble(1));
    vector->PushBack(new CValueString("xyz", 2));
    map.SetEntry("v", vector);
    map.SetEntry("b", new CValueString("text", CString::NPOS)); // replaced in place
    ASSERT_EQ(map.Keys().size(), 3u);
    EXPECT_TRUE(map.Keys()[0].ToString() == "b" && map.Keys()[1].ToString() == "a" && map.Entry("missing") == nullptr);
    EXPECT_TRUE(map.Entry("b")->String() == "text" && map.Entry("a")->Long() == 5);
    EXPECT_TRUE(map.Entry("v")->Vector().Entry(1)->String() == "xy" && map.Entry("v")->Vector().Keys()[1].ToString() == "1");
    CValueMap copy(map);
    std::unique_ptr<CValue> clone(map.Clone());
    EXPECT_TRUE(copy.Equal(map) && clone->Equal(map) && clone->Type() == VALUE_MAP);
    copy.SetEntry("extra", new CValueLong(6));
    EXPECT_FALSE(copy.Equal(map) || map.Equal(copy));
    copy = map;
    copy.SetEntry("a", new CValueLong(6));
    EXPECT_TRUE(!copy.Equal(map) && map.Entry("a")->Long() == 5);
    EXPECT_TRUE(map.RemoveEntry("a") && !map.HasEntry("a") && map.Size() == 2u);
    map.Clear();
    EXPECT_TRUE(map.IsEmpty() && !(CValue_Key(0) == CValue_Key("0")));
    for (const std::function<void()>& wrongKind : std::initializer_list<std::function<void()>>{
             [] { (void)CValueDouble(2.0).Long(); }, [] { (void)CValueDouble(2.0).Map(); },
             [] { (void)CValueMap().Vector(); }, [] { CValueMap().SetEntry("x", nullptr); }})
        EXPECT_THROW(wrongKind(), CException);
    // Large containers find keys through an index; it must answer as the scan
    // of a small one: names and indices apart, a replaced key in place, a
    // removed one gone with the rest shifted, copies indexed too.
    for (int i = 0; i < 300; ++i)
        map.SetEntry(std::to_string(i).c_str(), new CValueLong(i)), map.SetEntry(i, new CValueLong(-i));
    map.SetEntry("7", new CValueLong(70));
    EXPECT_TRUE(map.RemoveEntry(5));
    copy = map;
    for (const CValueMap* m : {&map, &copy})
    {
        EXPECT_TRUE(m->Size() == 599u && m->Entry(5) == nullptr);
        EXPECT_TRUE(m->Entry("7")->Long() == 70 && m->Entry(7)->Long() == -7 && m->Entry("299")->Long() == 299);
        // "6" moved from 12 to 11, the name "7" from 14 to 13.
        EXPECT_TRUE(m->Keys()[11].ToString() == "6" && m->Keys()[13] == CValue_Key("7"));
    }
}

TEST(HostImage, PixelsStridesTypesAndTheClassicRandomSequence)
{
    CImage image(IMAGE_GREY_16, CSize(3, 2, 2));
    EXPECT_TRUE(image.Step().X() == 2 && image.Step().Y() == 6 && image.Step().Z() == 12);
    image.SetPixel(2, 1, 1, 0x1'2345); // cut to the pixel width
    EXPECT_TRUE(image.GetPixel(2, 1, 1) == 0x2345u && image.Data()[12 + 6 + 4] == 0x45 && image.GetPixel(0, 0, 0) == 0u);
    EXPECT_THROW(image.GetPixel(3, 0, 0), CException);
    EXPECT_THROW(image.SetPixel(0, 0, -1, 1), CException);
    EXPECT_TRUE(image.Type() == IMAGE_GREY_16 && IMAGE_BINARY_FG != IMAGE_BINARY_BG && IMAGE_BINARY_BG.ToString() == "BINARY_BG");
    CImage copy(image);
    copy.SetPixel(2, 1, 1, 1);
    EXPECT_EQ(image.GetPixel(2, 1, 1), 0x2345u);
    // A view of the last row of slice 1 onwards: its pixel (2, 0, 0) is the
    // image's (2, 1, 1), and its copies view the same pixels.
    CImage view(IMAGE_GREY_16, CSize(3, 1, 1), image.Data() + 12 + 6, image.Step());
    CImage alias = view;
    alias.SetPixel(0, 0, 0, 7);
    EXPECT_TRUE(view.GetPixel(2, 0, 0) == 0x2345u && image.GetPixel(0, 1, 1) == 7u);
    // Sizes whose bytes overflow, also in the strides of an empty stack, are
    // refused before anything is allocated.
    EXPECT_THROW(CImage(IMAGE_GREY_16, CSize(1073807362, 2147352580, 4)), std::length_error);
    EXPECT_THROW(CImage(IMAGE_GREY_32, CSize(2147483647, 2147483647, 0)), std::length_error);
    // The classic generator's first values from seed 1, in every new thread.
    std::vector<int> first;
    std::thread([&] { first = {Rand15(), Rand15(), Rand15()}; }).join(); // a braced list is evaluated in order
    EXPECT_EQ(first, (std::vector<int>{16838, 5758, 10113}));
    SeedRand15(1);
    EXPECT_EQ(Rand15(), 16838);
    for (int i = 0; i < 1000; ++i) ASSERT_LE(unsigned(Rand15()), unsigned(RAND15_MAX));
}
