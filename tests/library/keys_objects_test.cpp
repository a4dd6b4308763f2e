// Objects of a partition through the library: listing, removal, metadata, and the wall
// between users' partitions.

#include "keys_fixture.h"

namespace {

using ObjectsTest = KeysTest;

TEST_F(ObjectsTest, ListingIsInOrderOpensFromTheFinalCallStopsWhenAskedRemovalIsFinal) {
    EXPECT_TRUE(List(operator_).empty());
    Generate(operator_, "b-key", Q_ALG_DES);
    Generate(operator_, "a-key", Q_ALG_AES_256);
    ASSERT_EQ(QGenerateMapObj(operator_, "c-map", "a-key", 0, "b-key", 0), Q_OK);

    QObjMetadataHandle metadata = 0;
    ASSERT_EQ(QCreateObjMetadata(&metadata, 0), Q_OK);
    ASSERT_EQ(QSetObjMetadata(metadata, Q_METADATA_LABEL, "payments", 8, 0), Q_OK);
    ASSERT_EQ(QManageObjMetadata(operator_, Q_METADATA_WRITE, "a-key", &metadata, 0), Q_OK);
    EXPECT_EQ(QDestroyObjMetadata(metadata, 0), Q_OK);

    std::vector<uint32_t> algorithms;
    std::vector<std::string> labels;
    WalkOnFinal walk{[&](const std::string &name) {
        QKeyHandle key = 0;
        QObjMetadataHandle opened = 0;
        char label[1024] = {};
        uint32_t length = sizeof label, status = QGetUserKey(operator_, name.c_str(), 0, &key);
        if (status == Q_OK) algorithms.push_back(Word(key, Q_KEY_PARAM_ALGORITHM));
        if (status == Q_OK)
            status = QManageObjMetadata(operator_, Q_METADATA_OPEN, name.c_str(), &opened, 0);
        if (status == Q_OK) status = QGetObjMetadata(opened, Q_METADATA_LABEL, label, &length, 0);
        labels.push_back(label);
        QDestroyObjMetadata(opened, 0);
        QDestroyKey(key, 0);
        return status;
    }};
    ASSERT_EQ(QListObjs(operator_, WalkOnFinal::Callback, &walk), Q_OK);
    EXPECT_EQ(walk.names, (std::vector<std::string>{"a-key", "b-key", "c-map"}));
    EXPECT_EQ(algorithms, (std::vector<uint32_t>{Q_ALG_AES_256, Q_ALG_DES, Q_ALG_OBJ_MAP}));
    EXPECT_EQ(labels, (std::vector<std::string>{"payments", "", ""}));

    // A label is bytes to the HSM, whatever the client's character set.
    const char latin1[] = "caf\xe9";
    testing::internal::CaptureStderr();
    ASSERT_EQ(QCreateObjMetadata(&metadata, 0), Q_OK);
    ASSERT_EQ(QSetObjMetadata(metadata, Q_METADATA_LABEL, latin1, 4, 0), Q_OK);
    EXPECT_EQ(QManageObjMetadata(operator_, Q_METADATA_WRITE, "b-key", &metadata, 0), Q_OK);
    EXPECT_EQ(QDestroyObjMetadata(metadata, 0), Q_OK);
    ASSERT_EQ(QManageObjMetadata(operator_, Q_METADATA_OPEN, "b-key", &metadata, 0), Q_OK);
    char label[16] = {};
    uint32_t length = sizeof label;
    EXPECT_EQ(QGetObjMetadata(metadata, Q_METADATA_LABEL, label, &length, 0), Q_OK);
    EXPECT_STREQ(label, latin1);
    EXPECT_EQ(QDestroyObjMetadata(metadata, 0), Q_OK);
    // A name is text: one in another character set is refused before it leaves.
    EXPECT_EQ(QManageObjMetadata(operator_, Q_METADATA_OPEN, latin1, &metadata, 0),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    int calls = 0;
    EXPECT_EQ(QListObjs(
                  operator_,
                  [](const char *, void *context, int) -> uint32_t {
                      ++*static_cast<int *>(context);
                      return 77;
                  },
                  &calls),
              77u);
    EXPECT_EQ(calls, 1);

    // Removal is final, and the name can be used again.
    Generate(operator_, "gone");
    EXPECT_EQ(QRemoveObj(operator_, "gone"), Q_OK);
    EXPECT_EQ(QRemoveObj(operator_, "gone"), Q_ERR_NOT_FOUND);
    QKeyHandle key = 0;
    EXPECT_EQ(QGetUserKey(operator_, "gone", 0, &key), Q_ERR_NOT_FOUND);
    EXPECT_EQ(List(operator_), (std::vector<std::string>{"a-key", "b-key", "c-map"}));
    Generate(operator_, "gone", Q_ALG_DES);
    EXPECT_EQ(Word("gone", Q_KEY_PARAM_ALGORITHM), Q_ALG_DES);
}

TEST_F(ObjectsTest, UsersSeeAndTouchOnlyTheirOwnPartition) {
    AddUser("alice", "Alice#12345");
    AddUser("bob", "Bob#123456");
    QSessionHandle alice = Login("alice", "Alice#12345"), bob = Login("bob", "Bob#123456");
    Generate(alice, "secret", Q_ALG_AES_128, Q_KEY_EXPORTABLE);
    EXPECT_TRUE(List(bob).empty());
    QKeyHandle key = 0;
    EXPECT_EQ(QGetUserKey(bob, "secret", 0, &key), Q_ERR_NOT_FOUND);
    EXPECT_EQ(QRemoveObj(bob, "secret"), Q_ERR_NOT_FOUND);
    EXPECT_EQ(Kcv(bob, "secret"), Error(Q_ERR_NOT_FOUND));
    EXPECT_EQ(QGenerateMapObj(bob, "map", "secret", 0, "secret", 0), Q_ERR_NOT_FOUND);
    EXPECT_TRUE(List(operator_).empty()) << "the operator has a partition of its own too";

    Generate(bob, "secret", Q_ALG_DES);  // names are per partition
    EXPECT_EQ(List(alice), std::vector<std::string>{"secret"});
}

}  // namespace
