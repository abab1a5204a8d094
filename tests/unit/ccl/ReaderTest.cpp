#include "kernel/ccl/Reader.h"

#include <gtest/gtest.h>

#include "kernel/ccl/Printer.h"

namespace wdb::ccl {
namespace {

struct Accepted {
    const char* line;
    const char* canonical;
};

// Each line, and the tree that it makes in canonical form.
constexpr Accepted kAccepted[] = {
    {"BAS ARTICLES", "BAS ARTICLES"},
    {"BAS              ARTICLES", "BAS ARTICLES"},
    {"BASE ARTICLES", "BAS ARTICLES"},
    {"base articles", "BAS articles"},
    {"BASE X=A,B", "BAS X = A , B"},
    {"BASE X=A,,B", "BAS X = A , B"},
    {"DEF FIN MIN=0", "DEF FIN MIN = 0"},
    {"DEFINE FIND MIN=0", "DEF FIN MIN = 0"},
    {"DEF              FIN              MIN             =0", "DEF FIN MIN = 0"},
    {"DEF FIN MIN=99999999999999999999", "DEF FIN MIN = 2147483647"},
    {"FIND R=FROM 1", "FIN RXX = FRL 1"},
    {"FIN RXX=FRL 1", "FIN RXX = FRL 1"},
    {"FIN              RXX             =FRL              1", "FIN RXX = FRL 1"},
    {"FIND R=12", "FIN RXX = 12"},
    {"FIND R>-1", "FIN RXX > -1"},
    {"FIND (R=TO 1) NOT (R=TO 1)", "FIN ( RXX = FTL 1 NOT RXX = FTL 1 )"},
    {"FIND T.NAME=ab$c!", "FIN T.NAME = ab$c!"},
    {"FIND T.NAME<>ab$c!", "FIN T.NAME <> ab$c!"},
    {"FIND T.PRICE<10", "FIN T.PRICE < 10"},
    {"FIND T.PRICE>-1.50", "FIN T.PRICE > -1.50"},
    {"FIND T.PRICE<=10", "FIN T.PRICE <= 10"},
    {"FIND T.PRICE>=10", "FIN T.PRICE >= 10"},
    {"FIND T.PRICE<>10", "FIN T.PRICE <> 10"},
    {"FIND T.F.2=x", "FIN T.F.2 = x"},
    {"FIND F.2=x", "FIN F.2 = x"},
    {"FIND F.0=2", "FIN F.RXX = 2"},
    {"FIND A=1", "FIN A = 1"},
    {"FIND T.PRICE=10 TO 20", "FIN T.PRICE = 10 FTL 20"},
    {"FIND T.PRICE=10 FTL 20", "FIN T.PRICE = 10 FTL 20"},
    {"FIND T.F.2=a TO b", "FIN T.F.2 = a FTL b"},
    {"FIND T.A=a b TO c d", "FIN T.A = \"a b\" FTL \"c d\""},
    {"FIND T.A=\"\" TO 5", "FIN T.A = \"\" FTL 5"},
    {"FIND T.A=5 TO \"\"", "FIN T.A = 5 FTL \"\""},
    {"FIND (T.A=5 TO )", "FIN T.A = 5 FTL \"\""},
    {"FIND T.A=$ TO x", "FIN T.A = \"$\" FTL x"},
    {"FIND T.R=FROM 1 NOT T.PRICE=10 TO 20", "FIN ( T.RXX = FRL 1 NOT T.PRICE = 10 FTL 20 )"},
    {"FIND T.R=1 TO 5", "FIN T.RXX = 1 FTL 5"},
    {"FIND T.R=\"\" TO 5", "FIN T.RXX = \"\" FTL 5"},
    {"FIND (T.R=5 TO ) AND (A=1)", "FIN ( T.RXX = 5 FTL \"\" AND A = 1 )"},
    {"FIND T.R=$ TO 5", "FIN T.RXX = \"$\" FTL 5"},
    {"FIND T.R=5 TO $", "FIN T.RXX = 5 FTL \"$\""},
    {"FIND T.R<=5", "FIN T.RXX <= 5"},
    {"FIND T.R=$", "FIN T.RXX = $"},
    {"FIND T.R=\"\"", "FIN T.RXX = \"\""},
    {"FIND T.A=\"\"", "FIN T.A = \"\""},
    {"FIND T.A=$", "FIN T.A = $"},
    {"FIND T.A=\"$\"", "FIN T.A = \"$\""},
    {"FIND T.F.3=\"\"", "FIN T.F.3 = \"\""},
    {"FIND T.F.3=$", "FIN T.F.3 = $"},
    {"FIND ((T.A=1) OR (T.B=2)) AND (T.C=3)", "FIN ( ( T.A = 1 ORX T.B = 2 ) AND T.C = 3 )"},
    {"FIND ((T.A=1) ORX (T.B=2)) AND (T.C=3)", "FIN ( ( T.A = 1 ORX T.B = 2 ) AND T.C = 3 )"},
    {"FIND A=1 OR B=2 AND C=3 NOT D=4", "FIN ( A = 1 ORX ( ( B = 2 AND C = 3 ) NOT D = 4 ) )"},
    {"FIND A=1 AND B=2 OR C=3 OR D=4", "FIN ( ( ( A = 1 AND B = 2 ) ORX C = 3 ) ORX D = 4 )"},
    {"FIND A=1 NOT (B=2 OR C=3) AND D=4", "FIN ( ( A = 1 NOT ( B = 2 ORX C = 3 ) ) AND D = 4 )"},
    {"FIND (T.R=FROM 1 NOT T.A=1 TO 5) AND (T.B=x)",
     "FIN ( ( T.RXX = FRL 1 NOT T.A = 1 FTL 5 ) AND T.B = x )"},
    {"FIND (R=FROM 1) AND (T.B=x)", "FIN ( RXX = FRL 1 AND T.B = x )"},
    {"FIND T.A=3.B", "FIN T.A = 3.B"},
    {"FIND T.A<>3.B", "FIN T.A <> 3.B"},
    {"FIND T.A<3.B", "FIN T.A < 3.B"},
    {"FIND T.A>3.B", "FIN T.A > 3.B"},
    {"FIND T.A>=3.B", "FIN T.A >= 3.B"},
    {"FIND T.A=3.U.B", "FIN T.A = 3.U.B"},
    {"FIND T.A=3.\"a b\".\"c d\"", "FIN T.A = 3.\"a b\".\"c d\""},
    {"FIND T.A=3.U.R", "FIN T.A = 3.U.RXX"},
    {"FIND T.D=5.Jan.00", "FIN T.D = \"5.Jan.00\""},
    {"FIND T.A=3.B.0", "FIN T.A = \"3.B.0\""},
    {"FIND T.A=3.B .C", "FIN T.A = \"3.B .C\""},
    {"FIND T.A=3.U.B", "FIN T.A = 3.U.B"},
    {"FIND T.A=3.COUNT(*)", "FIN T.A = 3.COUNT ( * )"},
    {"FIND T.A=3.MAX(U.PRICE)", "FIN T.A = 3.MAX ( U.PRICE )"},
    {"FIND T.A=3.\"MAX(N)\"", "FIN T.A = 3.\"MAX(N)\""},
    {"FIND (T.A=3.B) AND (T.C=1)", "FIN ( T.A = 3.B AND T.C = 1 )"},
    {"FIND T.R=3.R", "FIN T.RXX = 3.RXX"},
    {"FIND S=3", "FIN S = 3"},
    {"FIND S.2=3", "FIN \"S\".2 = 3"},
    {"FIND S<3", "FIN \"S\" < 3"},
    {"FIND \"S\"=3", "FIN \"S\" = 3"},
    {"FIND T.S=3", "FIN T.\"S\" = 3"},
    {"FIND \"R\"=x", "FIN \"R\" = x"},
    {"FIND (S=3) AND (T.A=1)", "FIN ( S = 3 AND T.A = 1 )"},
    {"FIND T.TITLE=\"war and peace\"", "FIN T.TITLE = \"war and peace\""},
    {"FIND T.TITLE=war peace", "FIN T.TITLE = \"war peace\""},
    {"FIND T.TITLE=war \"and\" peace", "FIN T.TITLE = \"war and peace\""},
    {"FIND T.D=2024-01-05", "FIN T.D = 2024-01-05"},
    {"FIND T.D=2024-01-05 TO 2024-12-31", "FIN T.D = 2024-01-05 FTL 2024-12-31"},
    {"FIND T.D=2024.Jan.5", "FIN T.D = \"2024.Jan.5\""},
    {"FIND T.D=2024.01.05", "FIN T.D = 2024.01.05"},
    {"FIND T.TM=09:30:00", "FIN T.TM = 09:30:00"},
    {"FIND T.TM=9:30", "FIN T.TM = 9:30"},
    {"FIND T.V=\"3.B\"", "FIN T.V = \"3.B\""},
    {"FIND T.V=3.14", "FIN T.V = 3.14"},
    {"FIND T.A=", "FIN T.A = \"\""},
    {"FIND T.A<>\"\"", "FIN T.A <> \"\""},
    {"FIND (T.A=) AND (T.B=1)", "FIN ( T.A = \"\" AND T.B = 1 )"},
    {"FIND T.A=\"a\"\"b\"", "FIN T.A = \"a\"\"b\""},
    {"FIND T.A=\"\"\"\"", "FIN T.A = \"\"\"\""},
    {"FIND T.A=\"50\\$\"", "FIN T.A = 50\\$"},
    {"FIND T.A=a\\_b", "FIN T.A = a_b"},
    {"FIND T.A=a\\\\_b\\x", "FIN T.A = a\\\\_b\\x"},
    {"FIND T.A=$$a$$", "FIN T.A = $a$"},
    {"FIND T.A=it's<5,6", "FIN T.A = \"it's<5,6\""},
    {"FIND (T.NAME=x$)", "FIN T.NAME = x$"},
    {"FIND T.A=to", "FIN T.A = \"to\""},
    {"FIND T.A=to TO not", "FIN T.A = \"to\" FTL \"not\""},
    {"FIND T.A=\"not\"", "FIN T.A = \"not\""},
    {"FIND \"a b\".\"c\"\"d\".2=x", "FIN \"a b\".\"c\"\"d\".2 = x"},
    {"FIND T.\"AND\"=x", "FIN T.\"AND\" = x"},
    {"FIND T.M\xC3\x9CLLER=\xC3\xBC", "FIN T.M\xC3\x9CLLER = \xC3\xBC"},
    {"SEL  FRL(ARTICLES A) FIELD(A.TITLE)  WHERE(A.PRICE<10) SORT(A.TITLE)",
     "SEL FRL ( ARTICLES A ) FIELD ( A.TITLE ) WHR ( A.PRICE < 10 ) SORT ( A.TITLE )"},
    {"SELECT  FROM(ARTICLES) FIELD()", "SEL FRL ( ARTICLES ) FIELD ( )"},
    {"SELECT  FROM() FIELD(\"1\",\"x\") ", "SEL FRL ( ) FIELD ( \"1\" , \"x\" )"},
    {"SELECT  DISTINCT FROM(ARTICLES) FIELD(ARTICLES.TITLE)",
     "SEL DISTINCT FRL ( ARTICLES ) FIELD ( ARTICLES.TITLE )"},
    {"SELECT SUBSELECT FROM(U) FIELD(U.B)  WHERE(U.Y=2)", "SEL SFX FRL ( U ) FIELD ( U.B ) WHR ( U.Y = 2 )"},
    {"SEL SFX DISTINCT FRL(U) FIELD(U.B)", "SEL SFX DISTINCT FRL ( U ) FIELD ( U.B )"},
    {"SEL              SFX              DISTINCT FRL             (U) FIELD(U.B)",
     "SEL SFX DISTINCT FRL ( U ) FIELD ( U.B )"},
    {"SELECT  FROM(T,U V) FIELD(T.A,V.B)  INNER(T.ID=V.TID)",
     "SEL FRL ( T , U V ) FIELD ( T.A , V.B ) INNER ( T.ID = V.TID )"},
    {"SELECT  FROM(T,U,W) FIELD(T.A)  LEFT(T.ID=U.TID)  RIGHT(U.X<>W.Y)  WHERE((T.A=1) AND (U.B=2)) SORT(T.A "
     "DESC,2,3 DESC)",
     "SEL FRL ( T , U , W ) FIELD ( T.A ) LEFT ( T.ID = U.TID ) RIGHT ( U.X <> W.Y ) WHR ( ( T.A = 1 AND U.B "
     "= 2 ) ) "
     "SORT ( T.A DES , 2 , 3 DES )"},
    {"SELECT  FROM(T A,T B) FIELD(A.N,B.N)  INNER(A.KEY=B.KEY)  INNER(A.X>=B.X)",
     "SEL FRL ( T A , T B ) FIELD ( A.N , B.N ) INNER ( A.KEY = B.KEY ) INNER ( A.X >= B.X )"},
    {"SELECT  FROM(T) FIELD(\"A\"+1,\"B\"*T.C,\"D\")",
     "SEL FRL ( T ) FIELD ( ( A + 1 ) , ( B * T.C ) , \"D\" )"},
    {"SELECT  FROM(T) FIELD(COUNT(*))", "SEL FRL ( T ) FIELD ( COUNT ( * ) )"},
    {"SELECT  FROM(T) FIELD(T.A,SUM(T.B),COUNT(DISTINCT T.C))  GROUP(T.A)",
     "SEL FRL ( T ) FIELD ( T.A , SUM ( T.B ) , COUNT ( DISTINCT T.C ) ) GROUP ( T.A )"},
    {"SELECT  FROM(T) FIELD(T.R,MIN(T.B))  WHERE(T.C=$) SORT(T.R) GROUP(T.0)",
     "SEL FRL ( T ) FIELD ( T.RXX , MIN ( T.B ) ) WHR ( T.C = $ ) SORT ( T.RXX ) GROUP ( T.RXX )"},
    {"SELECT  FROM(T) FIELD(T.F.2,T.G.1-3,5,\"abc\",NULL,-1.25)",
     "SEL FRL ( T ) FIELD ( T.F.2 , T.G.1-3 , 5 , \"abc\" , NULL , -1.25 )"},
    {"SELECT FROM(T) FIELD(T.COUNT,COUNT,NULL.A,+7,T.\"a b\",(\"a b\"))",
     "SEL FRL ( T ) FIELD ( T.\"COUNT\" , ( \"COUNT\" ) , \"NULL\".A , 7 , T.\"a b\" , ( \"a b\" ) )"},
    {"SELECT  FROM(T) FIELD(T.A)  WHERE(R=FROM 1)", "SEL FRL ( T ) FIELD ( T.A ) WHR ( RXX = FRL 1 )"},
    {"SELECT  FROM(T) FIELD(T.A)  WHERE((R=TO 1) NOT (R=TO 1))",
     "SEL FRL ( T ) FIELD ( T.A ) WHR ( ( RXX = FTL 1 NOT RXX = FTL 1 ) )"},
    {"SELECT  FROM(T) FIELD(T.A)  WHERE(T.A=3.B) SORT(1)",
     "SEL FRL ( T ) FIELD ( T.A ) WHR ( T.A = 3.B ) SORT ( 1 )"},
    {"SELECT DISTINCT UNION(3,4)", "SEL DISTINCT UNION ( 3 , 4 )"},
    {"SEL ALL UNION(3,4)", "SEL ALL UNION ( 3 , 4 )"},
    {"SELECT ALL UNION(5,6) SORT(1,2)", "SEL ALL UNION ( 5 , 6 ) SORT ( 1 , 2 )"},
    {"SEL              DISTINCT UNION(3,4) SORT(1)", "SEL DISTINCT UNION ( 3 , 4 ) SORT ( 1 )"},
    {"SELECT  FROM(T) FIELD(T.A*2,(T.A+T.B)/2-1,T.G.1-3,(T.G.1)-3)",
     "SEL FRL ( T ) FIELD ( ( T.A * 2 ) , ( ( ( T.A + T.B ) / 2 ) - 1 ) , T.G.1-3 , ( ( T.G.1 ) - 3 ) )"},
    {"SELECT  FROM(T) FIELD(T.A,(SUM(T.B)-1.5)*COUNT(*)/2)  GROUP(T.A)",
     "SEL FRL ( T ) FIELD ( T.A , ( ( ( SUM ( T.B ) - 1.5 ) * COUNT ( * ) ) / 2 ) ) GROUP ( T.A )"},
    {"SELECT FROM(T) FIELD(T.A-T.B-T.C,T.A--1,T.G.1-T.B,2*(3))",
     "SEL FRL ( T ) FIELD ( ( ( T.A - T.B ) - T.C ) , ( T.A - -1 ) , ( ( T.G.1 ) - T.B ) , ( 2 * 3 ) )"},
};

TEST(ReaderTest, AcceptedLinesMakeTheirTree) {
    for (const Accepted& row : kAccepted) {
        size_t position = 0;
        const auto command = readCommand(row.line, CommandWords(), &position);
        ASSERT_TRUE(command) << row.line << " refused at " << position;
        EXPECT_EQ(printCommand(*command), row.canonical) << row.line;
    }
}

TEST(ReaderTest, TheCanonicalFormReadsAsItself) {
    for (const Accepted& row : kAccepted) {
        size_t position = 0;
        const auto command = readCommand(row.canonical, CommandWords(), &position);
        ASSERT_TRUE(command) << row.canonical << " refused at " << position;
        EXPECT_EQ(printCommand(*command), row.canonical) << row.line;
    }
}

struct Refused {
    const char* line;
    size_t position;
    const char* reason;
};

constexpr Refused kRefused[] = {
    {"", 0, "no command"},
    {"FIND", 4, "no condition"},
    {"FIND T.A", 8, "no comparison"},
    {"FIND T.A=1 OR", 13, "no right side"},
    {"FIND (T.A=1", 11, "parenthesis left open"},
    {"FIND T.A=1)", 10, "parenthesis never opened"},
    {"FIND ()", 6, "empty parentheses"},
    {"FIND R=x", 7, "a record number is digits"},
    {"FIND R=1.5", 7, "a record number is whole"},
    {"FIND R=\"5\"", 7, "a record number stands bare"},
    {"FIND R=-", 7, "a sign alone"},
    {"FIND R=FROM", 11, "no number"},
    {"FIND S=x", 7, "a set number is digits"},
    {"FIND T.TITLE=\"open", 13, "quote left open"},
    {"FIND \"open=1", 5, "quote left open in a name"},
    {"FIND \"\"=1", 5, "a name is not empty"},
    {"BASE", 4, "no base"},
    {"BASE T U", 7, "one base"},
    {"BASE ,T", 5, "the first base is missing"},
    {"FIND T.A 5", 9, "no comparison"},
    {"FIND T.F.=x", 9, "no subfield"},
    {"FIND T.A=x(y)", 10, "a parenthesis inside a bare value"},
    {"FIND T.A=(x)", 9, "a parenthesis where a value starts"},
    {"FIND T.A=$ x", 11, "the test for any value stands alone"},
    {"FIND T.A=3.B x", 13, "the values of a set stand alone"},
    {"FIND T.A=1 XOR T.B=2 ; x)", 24, "the unknown word belongs to the value"},
    {"DEFINE FIND MIN=x", 16, "the minimum is digits"},
    {"DEFINE MIN=0", 7, "FIND is missing"},
    {"SELECT FROM(T) WHERE(T.A=1)", 15, "no field list"},
    {"SELECT FROM(T) FIELD(T.A) GROUP(T.A) SORT(T.A)", 37, "GROUP stands last"},
    {"SELECT FROM(T) FIELD(MAX(*))", 25, "only COUNT counts rows"},
    {"SELECT UNION(1,2)", 7, "ALL or DISTINCT is missing"},
    {"SELECT DISTINCT UNION(1)", 23, "two sets"},
    {"SELECT ALL UNION(1,2) SORT(T.A)", 27, "a union is sorted by positions"},
    {"SELECT FROM(T) FIELD(T.A) CROSS(T.A=T.B)", 26, "no such join"},
    {"SELECT FROM(T) FIELD(T.A) SORT(0)", 31, "entries count from 1"},
    {"SELECT FROM(T) FIELD(T.A) INNER(T.A=5)", 36, "a join compares columns"},
    {"SHOW T", 0, "no such command"},
    {"SELECT FROM(T) FIELD(T.A+)", 25, "no right operand"},
    {"SELECT FROM(T) FIELD((T.A*2)", 28, "parenthesis left open"},
    {"SELECT FROM(T) FIELD(1.)", 23, "no digits behind the point"},
    {"SELECT FROM(T,) FIELD(T.A)", 14, "no table behind the comma"},
};

TEST(ReaderTest, RefusedLinesTellThePlace) {
    for (const Refused& row : kRefused) {
        size_t position = 12345;
        const auto command = readCommand(row.line, CommandWords(), &position);
        EXPECT_EQ(command.status(), WDB_E_CCL_SYNTAX) << row.line << ": " << row.reason;
        EXPECT_EQ(position, row.position) << row.line << ": " << row.reason;
    }
}

TEST(ReaderTest, EscapesAndWildcardsBecomePieces) {
    size_t position = 0;
    const auto command = readCommand("FIND T.A=a\\$b$c\\d!\\! \"x \"\"y\\_\"", CommandWords(), &position);
    ASSERT_TRUE(command);
    const Value& value = std::get<FindCommand>(*command).expression.criteria[0].low;
    ASSERT_EQ(value.pieces.size(), 5u);
    EXPECT_EQ(value.pieces[0].text, "a$b");
    EXPECT_EQ(value.pieces[1].kind, ValuePiece::Kind::AnyRun);
    EXPECT_EQ(value.pieces[2].text, "c\\d");
    EXPECT_EQ(value.pieces[3].kind, ValuePiece::Kind::AnyCharacter);
    EXPECT_EQ(value.pieces[4].text, "! x \"y_");
    EXPECT_EQ(value.prefix(), "a$b");
}

}  // namespace
}  // namespace wdb::ccl
