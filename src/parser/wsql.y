/* The grammar: one statement of the language, then the end of the text.
 *
 *   SELECT [DISTINCT] items [FROM tables] [WHERE c] [GROUP BY columns] [ORDER BY items] [UNION [ALL] SELECT ...]
 *   INSERT [IGNORE] INTO t [(columns)] VALUES (...) | INSERT [IGNORE] INTO t [(columns)] SELECT ...
 *   UPDATE t SET a = 1, ... [WHERE c]            DELETE FROM t [WHERE c]
 *   UPDATE t SET OBJECT (column, 'file=...') WHERE c            GET OBJECT = 'key'
 *   CREATE TABLE ...   ALTER TABLE ...   DROP TABLE ...   GRANT ...   REVOKE ...
 *   SET PROPERTY p = v   GET PROPERTY p   COMMIT   ROLLBACK
 *
 * The layers of rules spell out every priority, so there are no precedence declarations and no conflicts. An action is
 * one call of TreeBuilder, which consumes what the rule holds; it reads no schema and no setting. Everything that a
 * failed parse leaves on the stack is deleted by the destructors below.
 */
%require "3.8"
%language "C"
%define api.pure full
%define api.prefix {wsql}
%define api.token.prefix {T_}
%define parse.error simple
%expect 0
/* Without this a default reduction would run its checks before the syntax error behind it is seen. */
%define lr.default-reduction consistent

%code requires {
#include "src/parser/TreeBuilder.h"

#ifndef YY_TYPEDEF_YY_SCANNER_T
#define YY_TYPEDEF_YY_SCANNER_T
typedef void* yyscan_t;
#endif
}

%param {yyscan_t scanner}
%parse-param {wsql::TreeBuilder& build}

%code {
#include <new>

#include "src/parser/Scanner.h"

using namespace wsql;

#undef yylex
#define yylex scanToken

static void wsqlerror(yyscan_t, TreeBuilder& build, const char* text) { build.error(text); }

/* Runs an action's call and keeps its node. A node that is refused has told why, unless the tree grew too deep; that and
   a lack of memory end the parse as exhausted. Bison does not destroy what the failed rule held: the call owned it. */
#define MAKE(target, call)                \
  do {                                    \
    try {                                 \
      (target) = (call).release();        \
    } catch (const std::exception&) {     \
      YYNOMEM;                            \
    }                                     \
    if ((target) == nullptr) {            \
      if (build.tooDeep()) YYNOMEM;       \
      YYABORT;                            \
    }                                     \
  } while (false)
}

%union {
  int32_t number;
  double real;
  const char* name;
  wsql::TextToken text;
  wsql::ReferenceActions actions;
  std::string* path;
  wsql::WSQLStatement* statement;
  wsql::WSQLStmtSelect* select;
  wsql::WSQLScalar* scalar;
  wsql::WSQLColumnRef* column;
  wsql::WSQLTableRef* table;
  wsql::WSQLCondition* condition;
  wsql::WSQLJoinSpec* joinSpec;
  wsql::WSQLJoinRVal* joinStep;
  wsql::WSQLOrderByItem* orderItem;
  wsql::WSQLAssignment* assignment;
  wsql::WSQLColumnElement* element;
  wsql::WSQLColumnConstraint* constraint;
  wsql::WSQLType* type;
  wsql::WSQLWithOptions* options;
  wsql::NodeList<wsql::WSQLScalar>* scalars;
  wsql::NodeList<wsql::WSQLColumnRef>* columns;
  wsql::NodeList<wsql::WSQLTableRef>* tables;
  wsql::NodeList<wsql::WSQLOrderByItem>* orderItems;
  wsql::NodeList<wsql::WSQLAssignment>* assignments;
  wsql::NodeList<wsql::WSQLColumnElement>* elements;
  wsql::NodeList<wsql::WSQLColumnConstraint>* constraints;
}

%destructor { delete $$; } <path> <statement> <select> <scalar> <column> <table> <condition> <joinSpec> <joinStep>
%destructor { delete $$; } <orderItem> <assignment> <element> <constraint> <type> <options> <scalars> <columns> <tables>
%destructor { delete $$; } <orderItems> <assignments> <elements> <constraints>

/* The scanner's keyword table holds these numbers, so each stands here. 321, 330 and 331 are never scanned. */
%token AND 258 OR 259 NOT 260 BETWEEN 261 IS 262 LIKE 263 NULL 264 IN 265 COUNT 266 AVG 267 MIN 268 MAX 269
%token SUM 270 COMMIT 271 ROLLBACK 272 WORK 273 SELECT 274 FROM 275 WHERE 276 AS 277 INSERT 278 INTO 279
%token VALUES 280 CREATE 281 DROP 282 TABLE 283 ALTER 284 ADD 285 COLUMN 286 DISTINCT 287 ALL 288 DOTSTAR 289
%token GROUP 290 BY 291 ORDER 292 WITH 293 LOCATION 294 GRANT 295 REVOKE 296 PRIVILEGES 297 READ 298 ON 299
%token TO 300 WRITE 301 SET 302 GET 303 UPDATE 304 DELETE 305 TRUE 306 FALSE 307 PROPERTY 308 OBJECT 309
%token VALUELIST 310 ASC 311 DESC 312 NOTLIKE 313 LE 314 GE 315 NE 316 UNUSED321 321 LONG 323 VARCHAR 324
%token NUMERIC 325 INTEGER 326 VARBINARY 327 DATE 328 TIME 329 UNUSED330 330 UNUSED331 331 SERIAL 332
%token DEFAULT 333 REFERENCES 334 CASCADE 335 NO 336 ACTION 337 RESTRICT 338 FOREIGN 339 PRIMARY 340 KEY 341
%token UNION 342 LEFT 343 RIGHT 344 INNER 345 NATURAL 346 CROSS 347 JOIN 348 USING 349 OUTER 350 IGNORE 351
%token CURRENT_TIMESTAMP 352 CURRENT_DATE 353 CURRENT_TIME 354 IF 355 EXISTS 356 CHARACTER 357 CHARSET 358
%token TYPE 359 DATA 360
%token <number> INTNUM 317
%token <text> STRING 318 NAME 319
%token <real> APPROXNUM 320
%token <text> TIMELIT 322

%type <statement> statement insert update delete create_table alter_table drop_table grant revoke
%type <statement> set_property get_property get_object set_object
%type <select> select_union query_term select select_head subquery_union subquery subquery_tables
%type <scalars> select_list subquery_item insert_values
%type <scalar> select_item scalar_exp term factor literal_primary function_ref insert_value
%type <scalar> current_datetime property_value default_opt
%type <column> column_ref quoted_column_ref function_arg object_column column_designator
%type <columns> column_list column_list_opt group_by_clause
%type <table> table_ref table_name update_head
%type <tables> table_list
%type <joinSpec> joined_tables
%type <joinStep> join_step
%type <condition> join_condition join_comparison where_clause where_opt search_condition boolean_term boolean_factor
%type <condition> boolean_primary comparison between like null_test subquery_predicate
%type <orderItems> order_by order_list
%type <orderItem> order_item
%type <assignments> assignment_list
%type <assignment> assignment
%type <elements> column_defs
%type <element> column_def
%type <constraint> column_constraint_opt column_constraint references_clause table_constraint
%type <constraints> table_constraints
%type <type> data_type
%type <options> with_opt with_options
%type <text> table_name_part alias_opt correlation plain_name column_name grantee
%type <path> qualifier
%type <name> aggregate
%type <actions> referential_actions_opt
%type <number> union_op quantifier direction ignore_opt join_kind comparison_op not_opt subscript
%type <number> if_not_exists_opt if_exists_opt action grant_right revoke_right

%start start

%%

start: statement { build.finish(own($1)); };

statement
  : select_union { $$ = $1; }
  | insert | update | delete
  | commit_stmt { MAKE($$, TreeBuilder::commit()); }
  | rollback_stmt { MAKE($$, TreeBuilder::rollback()); }
  | create_table | alter_table | drop_table | grant | revoke
  | set_property | get_property | get_object | set_object;

commit_stmt: COMMIT | COMMIT WORK;
rollback_stmt: ROLLBACK | ROLLBACK WORK;

set_property: SET PROPERTY NAME '=' property_value { MAKE($$, TreeBuilder::setProperty($3, own($5))); };

property_value
  : insert_value
  | FALSE { MAKE($$, TreeBuilder::boolean(false)); }
  | TRUE { MAKE($$, TreeBuilder::boolean(true)); };

get_property: GET PROPERTY NAME { MAKE($$, TreeBuilder::getProperty($3)); };

get_object: GET OBJECT '=' STRING { MAKE($$, TreeBuilder::getObject($4)); };

set_object: update_head SET OBJECT '(' object_column ',' STRING ')' where_clause
    { MAKE($$, build.setObject(own($1), own($5), $7, own($9))); };

object_column
  : STRING { MAKE($$, TreeBuilder::column($1)); }
  | column_ref | quoted_column_ref;

/* ---- queries ---- */

select_union
  : query_term
  | select_union union_op query_term { MAKE($$, build.unionOf(own($1), $2 != 0, own($3))); };

union_op: UNION { $$ = 0; } | UNION DISTINCT { $$ = 0; } | UNION ALL { $$ = 1; };

query_term: '(' select ')' { $$ = $2; } | select;

select
  : select_head
  | select_head where_clause { MAKE($$, TreeBuilder::withClauses(own($1), own($2), nullptr, nullptr)); }
  | select_head group_by_clause { MAKE($$, TreeBuilder::withClauses(own($1), nullptr, own($2), nullptr)); }
  | select_head where_clause group_by_clause
    { MAKE($$, TreeBuilder::withClauses(own($1), own($2), own($3), nullptr)); }
  | select_head order_by { MAKE($$, TreeBuilder::withClauses(own($1), nullptr, nullptr, own($2))); }
  | select_head where_clause order_by
    { MAKE($$, TreeBuilder::withClauses(own($1), own($2), nullptr, own($3))); }
  | select_head group_by_clause order_by
    { MAKE($$, TreeBuilder::withClauses(own($1), nullptr, own($2), own($3))); }
  | select_head where_clause group_by_clause order_by
    { MAKE($$, TreeBuilder::withClauses(own($1), own($2), own($3), own($4))); };

select_head
  : SELECT quantifier select_list { MAKE($$, build.constantSelect($2 != 0, own($3))); }
  | SELECT quantifier select_list FROM table_list { MAKE($$, TreeBuilder::selectFrom($2 != 0, own($3), own($5))); }
  | SELECT quantifier select_list FROM joined_tables { MAKE($$, TreeBuilder::selectFrom($2 != 0, own($3), own($5))); };

quantifier: %empty { $$ = 0; } | ALL { $$ = 0; } | DISTINCT { $$ = 1; };

select_list
  : '*' { MAKE($$, TreeBuilder::starList()); }
  | select_item { MAKE($$, TreeBuilder::listOf(own($1))); }
  | select_list ',' select_item { MAKE($$, TreeBuilder::appended(own($1), own($3))); };

select_item
  : table_name_part DOTSTAR { MAKE($$, TreeBuilder::allColumns($1)); }
  | quoted_column_ref alias_opt { MAKE($$, TreeBuilder::selectItem(own<WSQLScalar>($1), $2)); }
  | scalar_exp alias_opt { MAKE($$, TreeBuilder::selectItem(own($1), $2)); }
  | '(' subquery ')' alias_opt { MAKE($$, TreeBuilder::selectItem(TreeBuilder::literalSelect(own($2)), $4)); };

alias_opt: %empty { $$ = TextToken{"", 0}; } | AS NAME { $$ = $2; } | AS STRING { $$ = $2; };

table_list
  : table_ref { MAKE($$, TreeBuilder::listOf(own($1))); }
  | table_list ',' table_ref { MAKE($$, TreeBuilder::appended(own($1), own($3))); };

joined_tables
  : table_ref join_step { MAKE($$, TreeBuilder::joinSpec(own($1), own($2))); }
  | joined_tables join_step { MAKE($$, TreeBuilder::joinedWith(own($1), own($2))); };

join_step
  : join_kind table_ref { MAKE($$, TreeBuilder::joinStep($1, own($2), nullptr, nullptr)); }
  | join_kind table_ref ON join_condition { MAKE($$, TreeBuilder::joinStep($1, own($2), own($4), nullptr)); }
  | join_kind table_ref ON '(' join_condition ')' { MAKE($$, TreeBuilder::joinStep($1, own($2), own($5), nullptr)); }
  | join_kind table_ref USING column_list { MAKE($$, TreeBuilder::joinStep($1, own($2), nullptr, own($4))); }
  | join_kind table_ref USING '(' column_list ')' { MAKE($$, TreeBuilder::joinStep($1, own($2), nullptr, own($5))); };

join_kind
  : JOIN { $$ = JoinKind::kInner; }
  | INNER JOIN { $$ = JoinKind::kInner; }
  | NATURAL JOIN { $$ = JoinKind::kNaturalInner; }
  | NATURAL INNER JOIN { $$ = JoinKind::kNaturalInner; }
  | LEFT outer_opt JOIN { $$ = JoinKind::kLeft; }
  | NATURAL LEFT outer_opt JOIN { $$ = JoinKind::kNaturalLeft; }
  | RIGHT outer_opt JOIN { $$ = JoinKind::kRight; }
  | NATURAL RIGHT outer_opt JOIN { $$ = JoinKind::kNaturalRight; }
  | CROSS JOIN { $$ = JoinKind::kCross; };

outer_opt: %empty | OUTER;

join_condition
  : join_comparison
  | join_condition AND join_comparison
    { MAKE($$, TreeBuilder::composite(own($1), WSQLCompositeCondition::kAnd, own($3))); };

join_comparison: function_arg comparison_op function_arg
    { MAKE($$, TreeBuilder::comparison(own<WSQLScalar>($1), $2, own<WSQLScalar>($3))); };

table_ref
  : table_name
  | table_name correlation { MAKE($$, TreeBuilder::withCorrelation(own($1), $2)); };

correlation: NAME | STRING;

table_name
  : table_name_part { MAKE($$, TreeBuilder::table($1)); }
  | qualifier '.' table_name_part { MAKE($$, TreeBuilder::table(own($1), $3)); };

qualifier
  : NAME { MAKE($$, TreeBuilder::path($1)); }
  | qualifier '.' NAME { MAKE($$, TreeBuilder::pathWith(own($1), $3)); };

table_name_part: NAME | STRING;

order_by: ORDER BY order_list { $$ = $3; };

order_list
  : order_item { MAKE($$, TreeBuilder::listOf(own($1))); }
  | order_list ',' order_item { MAKE($$, TreeBuilder::appended(own($1), own($3))); };

order_item
  : column_ref direction { MAKE($$, TreeBuilder::orderByColumn(own($1), $2 != 0)); }
  | INTNUM direction { MAKE($$, TreeBuilder::orderByPosition($1, $2 != 0)); };

direction: %empty { $$ = 0; } | ASC { $$ = 0; } | DESC { $$ = 1; };

group_by_clause: GROUP BY column_list { $$ = $3; };

column_list
  : column_ref { MAKE($$, TreeBuilder::listOf(own($1))); }
  | STRING { MAKE($$, TreeBuilder::listOf(TreeBuilder::column($1))); }
  | column_list ',' column_ref { MAKE($$, TreeBuilder::appended(own($1), own($3))); }
  | column_list ',' STRING { MAKE($$, TreeBuilder::columnNamed(own($1), $3)); };

where_clause: WHERE search_condition { $$ = $2; };

/* ---- sub-queries: one select item; GROUP BY only behind a WHERE; without FROM only ORDER BY may follow ---- */

subquery_union
  : subquery
  | subquery_union union_op subquery { MAKE($$, build.unionOf(own($1), $2 != 0, own($3))); };

subquery
  : SELECT quantifier subquery_item { MAKE($$, build.constantSelect($2 != 0, own($3))); }
  | SELECT quantifier subquery_item order_by
    { MAKE($$, build.constantSelectOrdered($2 != 0, own($3), own($4))); }
  | subquery_tables
  | subquery_tables order_by { MAKE($$, TreeBuilder::withClauses(own($1), nullptr, nullptr, own($2))); }
  | subquery_tables where_clause { MAKE($$, TreeBuilder::withClauses(own($1), own($2), nullptr, nullptr)); }
  | subquery_tables where_clause order_by
    { MAKE($$, TreeBuilder::withClauses(own($1), own($2), nullptr, own($3))); }
  | subquery_tables where_clause group_by_clause
    { MAKE($$, TreeBuilder::withClauses(own($1), own($2), own($3), nullptr)); }
  | subquery_tables where_clause group_by_clause order_by
    { MAKE($$, TreeBuilder::withClauses(own($1), own($2), own($3), own($4))); };

subquery_tables
  : SELECT quantifier subquery_item FROM table_list { MAKE($$, TreeBuilder::selectFrom($2 != 0, own($3), own($5))); }
  | SELECT quantifier subquery_item FROM joined_tables { MAKE($$, TreeBuilder::selectFrom($2 != 0, own($3), own($5))); };

subquery_item: select_item { MAKE($$, TreeBuilder::listOf(own($1))); };

/* ---- conditions ---- */

search_condition
  : boolean_term
  | search_condition OR boolean_term
    { MAKE($$, TreeBuilder::composite(own($1), WSQLCompositeCondition::kOr, own($3))); };

boolean_term
  : boolean_factor
  | boolean_term AND boolean_factor
    { MAKE($$, TreeBuilder::composite(own($1), WSQLCompositeCondition::kAnd, own($3))); };

boolean_factor
  : boolean_primary
  | NOT boolean_primary { MAKE($$, TreeBuilder::inverted(own($2))); };

boolean_primary
  : comparison | between | like | null_test | subquery_predicate
  | '(' search_condition ')' { MAKE($$, TreeBuilder::inParentheses(own($2))); };

comparison
  : quoted_column_ref comparison_op scalar_exp { MAKE($$, TreeBuilder::comparison(own<WSQLScalar>($1), $2, own($3))); }
  | scalar_exp comparison_op quoted_column_ref { MAKE($$, TreeBuilder::comparison(own($1), $2, own<WSQLScalar>($3))); }
  | scalar_exp comparison_op scalar_exp { MAKE($$, TreeBuilder::comparison(own($1), $2, own($3))); };

comparison_op
  : '=' { $$ = ComparisonOp::kEqual; }
  | NE { $$ = ComparisonOp::kNotEqual; }
  | '<' { $$ = ComparisonOp::kLess; }
  | '>' { $$ = ComparisonOp::kGreater; }
  | LE { $$ = ComparisonOp::kLessEqual; }
  | GE { $$ = ComparisonOp::kGreaterEqual; };

between
  : scalar_exp BETWEEN scalar_exp AND scalar_exp { MAKE($$, TreeBuilder::between(own($1), false, own($3), own($5))); }
  | scalar_exp NOT BETWEEN scalar_exp AND scalar_exp
    { MAKE($$, TreeBuilder::between(own($1), true, own($4), own($6))); };

like
  : column_ref LIKE insert_value { MAKE($$, TreeBuilder::like(own($1), false, own($3))); }
  | column_ref NOTLIKE insert_value { MAKE($$, TreeBuilder::like(own($1), true, own($3))); };

null_test: column_ref IS not_opt NULL { MAKE($$, TreeBuilder::nullTest(own($1), $3 != 0)); };

not_opt: %empty { $$ = 0; } | NOT { $$ = 1; };

subquery_predicate
  : quoted_column_ref IN '(' subquery_union ')'
    { MAKE($$, TreeBuilder::subselect(own<WSQLScalar>($1), ComparisonOp::kIn, own($4))); }
  | scalar_exp IN '(' subquery_union ')' { MAKE($$, TreeBuilder::subselect(own($1), ComparisonOp::kIn, own($4))); }
  | quoted_column_ref comparison_op '(' subquery_union ')'
    { MAKE($$, TreeBuilder::subselect(own<WSQLScalar>($1), $2, own($4))); }
  | scalar_exp comparison_op '(' subquery_union ')' { MAKE($$, TreeBuilder::subselect(own($1), $2, own($4))); };

/* ---- expressions and values ---- */

scalar_exp
  : term
  | scalar_exp '-' term { MAKE($$, build.operation(own($1), '-', own($3))); }
  | scalar_exp '+' term { MAKE($$, build.operation(own($1), '+', own($3))); };

term
  : factor
  | term '*' factor { MAKE($$, build.operation(own($1), '*', own($3))); }
  | term '/' factor { MAKE($$, build.operation(own($1), '/', own($3))); };

factor
  : literal_primary
  | '+' literal_primary { MAKE($$, TreeBuilder::withSign(own($2), '+')); }
  | '-' literal_primary { MAKE($$, TreeBuilder::withSign(own($2), '-')); }
  | column_ref { $$ = $1; }
  | function_ref
  | '(' scalar_exp ')' { MAKE($$, TreeBuilder::inParentheses(own($2))); };

literal_primary
  : INTNUM { MAKE($$, TreeBuilder::integer($1)); }
  | APPROXNUM { MAKE($$, TreeBuilder::real($1)); }
  | STRING { MAKE($$, TreeBuilder::text($1)); }
  | DATE '(' STRING ')' { MAKE($$, build.date($3, false)); }
  | DATE '(' NULL ')' { MAKE($$, TreeBuilder::nullDate()); }
  | TIMELIT { MAKE($$, TreeBuilder::time($1)); }
  | NULL { MAKE($$, TreeBuilder::null()); }
  | current_datetime;

function_ref
  : COUNT '(' '*' ')' { MAKE($$, build.function("COUNT", false, nullptr)); }
  | COUNT '(' quantifier scalar_exp ')' { MAKE($$, build.function("COUNT", $3 != 0, own($4))); }
  | aggregate '(' '*' ')' { MAKE($$, build.function($1, false, nullptr)); }
  | aggregate '(' scalar_exp ')' { MAKE($$, build.function($1, false, own($3))); }
  | VALUELIST '(' function_arg ',' STRING ')' { MAKE($$, TreeBuilder::valueList(own($3), $5, nullptr, nullptr)); }
  | VALUELIST '(' function_arg ',' STRING ',' INTNUM ')'
    { MAKE($$, TreeBuilder::valueList(own($3), $5, &$7, nullptr)); }
  | VALUELIST '(' function_arg ',' STRING ',' INTNUM ',' INTNUM ')'
    { MAKE($$, TreeBuilder::valueList(own($3), $5, &$7, &$9)); };

aggregate: AVG { $$ = "AVG"; } | MIN { $$ = "MIN"; } | MAX { $$ = "MAX"; } | SUM { $$ = "SUM"; };

function_arg: column_ref | quoted_column_ref | STRING { MAKE($$, TreeBuilder::column($1)); };

insert_value
  : INTNUM { MAKE($$, TreeBuilder::integer($1)); }
  | APPROXNUM { MAKE($$, TreeBuilder::real($1)); }
  | STRING { MAKE($$, TreeBuilder::text($1)); }
  | DATE '(' NULL ')' { MAKE($$, TreeBuilder::nullDate()); }
  | DATE '(' STRING ')' { MAKE($$, build.date($3, true)); }
  | TIMELIT { MAKE($$, TreeBuilder::time($1)); }
  | NULL { MAKE($$, TreeBuilder::null()); }
  | '(' subquery ')' { MAKE($$, TreeBuilder::literalSelect(own($2))); }
  | current_datetime;

current_datetime
  : CURRENT_TIMESTAMP empty_parens_opt { MAKE($$, build.currentTimestamp()); }
  | CURRENT_DATE empty_parens_opt { MAKE($$, build.currentDate()); }
  | CURRENT_TIME empty_parens_opt { MAKE($$, build.currentTime()); };

empty_parens_opt: %empty | '(' ')';

column_ref
  : NAME { MAKE($$, TreeBuilder::column($1)); }
  | NAME subscript { MAKE($$, TreeBuilder::withSubscript(TreeBuilder::column($1), $2)); }
  | NAME '.' NAME { MAKE($$, TreeBuilder::column($1, $3)); }
  | NAME '.' NAME subscript { MAKE($$, TreeBuilder::withSubscript(TreeBuilder::column($1, $3), $4)); }
  | NAME '.' NAME '.' NAME { MAKE($$, TreeBuilder::column($1, $3, $5)); }
  | NAME '.' NAME '.' NAME subscript { MAKE($$, TreeBuilder::withSubscript(TreeBuilder::column($1, $3, $5), $6)); };

quoted_column_ref
  : NAME '.' STRING { MAKE($$, TreeBuilder::column($1, $3)); }
  | STRING '.' STRING { MAKE($$, TreeBuilder::column($1, $3)); }
  | STRING '.' STRING '.' STRING { MAKE($$, TreeBuilder::column($1, $3, $5)); };

subscript: '[' INTNUM ']' { $$ = $2; };

/* ---- data statements ---- */

insert
  : INSERT ignore_opt INTO table_name column_list_opt VALUES '(' insert_values ')'
    { MAKE($$, build.insertValues($2 != 0, own($4), own($5), own($8))); }
  | INSERT ignore_opt INTO table_name column_list_opt select
    { MAKE($$, build.insertSelect($2 != 0, own($4), own($5), own($6))); };

ignore_opt: %empty { $$ = 0; } | IGNORE { $$ = 1; };

column_list_opt: %empty { $$ = nullptr; } | '(' column_list ')' { $$ = $2; };

insert_values
  : insert_value { MAKE($$, TreeBuilder::listOf(own($1))); }
  | insert_values ',' insert_value { MAKE($$, TreeBuilder::appended(own($1), own($3))); };

update: update_head SET assignment_list where_opt { MAKE($$, TreeBuilder::update(own($1), own($3), own($4))); };

update_head
  : UPDATE table_name { $$ = $2; }
  | UPDATE table_name correlation { MAKE($$, TreeBuilder::withCorrelation(own($2), $3)); };

assignment_list
  : assignment { MAKE($$, TreeBuilder::listOf(own($1))); }
  | assignment_list ',' assignment { MAKE($$, TreeBuilder::appended(own($1), own($3))); };

assignment
  : quoted_column_ref '=' insert_value { MAKE($$, TreeBuilder::assignment(own($1), own($3))); }
  | column_ref '=' insert_value { MAKE($$, TreeBuilder::assignment(own($1), own($3))); };

where_opt: %empty { $$ = nullptr; } | where_clause;

delete: DELETE FROM table_ref where_opt { MAKE($$, TreeBuilder::deleteFrom(own($3), own($4))); };

/* ---- schema and rights ---- */

create_table
  : CREATE TABLE if_not_exists_opt table_name '(' column_defs ')' with_opt
    { MAKE($$, build.createTable($3 != 0, own($4), own($6), nullptr, own($8))); }
  | CREATE TABLE if_not_exists_opt table_name '(' column_defs ',' table_constraints ')' with_opt
    { MAKE($$, build.createTable($3 != 0, own($4), own($6), own($8), own($10))); };

if_not_exists_opt: %empty { $$ = 0; } | IF NOT EXISTS { $$ = 1; };

if_exists_opt: %empty { $$ = 0; } | IF EXISTS { $$ = 1; };

column_defs
  : column_def { MAKE($$, TreeBuilder::listOf(own($1))); }
  | column_defs ',' column_def { MAKE($$, build.columnAppended(own($1), own($3))); };

column_def: column_name data_type default_opt column_constraint_opt
    { MAKE($$, TreeBuilder::columnElement($1, own($2), own($3), own($4))); };

column_name: NAME | STRING;

data_type
  : VARCHAR '(' INTNUM ')' { MAKE($$, TreeBuilder::type(WSQLType::Code::kVarchar, $3)); }
  | VARCHAR { MAKE($$, TreeBuilder::type(WSQLType::Code::kVarchar)); }
  | LONG VARCHAR { MAKE($$, TreeBuilder::type(WSQLType::Code::kLongVarchar)); }
  | LONG VARBINARY { MAKE($$, TreeBuilder::type(WSQLType::Code::kLongVarbinary)); }
  | INTEGER { MAKE($$, TreeBuilder::type(WSQLType::Code::kInteger)); }
  | NUMERIC '(' INTNUM ',' INTNUM ')' { MAKE($$, TreeBuilder::type(WSQLType::Code::kNumeric, $3, $5)); }
  | NUMERIC '(' INTNUM ')' { MAKE($$, TreeBuilder::type(WSQLType::Code::kNumeric, $3)); }
  | NUMERIC { MAKE($$, TreeBuilder::type(WSQLType::Code::kNumeric)); }
  | DATE { MAKE($$, TreeBuilder::type(WSQLType::Code::kDate)); }
  | TIME { MAKE($$, TreeBuilder::type(WSQLType::Code::kTime)); }
  | SERIAL { MAKE($$, TreeBuilder::type(WSQLType::Code::kSerial)); };

default_opt: %empty { $$ = nullptr; } | DEFAULT insert_value { $$ = $2; };

column_constraint_opt: %empty { $$ = nullptr; } | column_constraint;

column_constraint
  : NULL { MAKE($$, TreeBuilder::constraint(true, false, false)); }
  | NULL PRIMARY KEY { MAKE($$, TreeBuilder::constraint(true, false, true)); }
  | NOT NULL { MAKE($$, TreeBuilder::constraint(false, true, false)); }
  | NOT NULL PRIMARY KEY { MAKE($$, TreeBuilder::constraint(false, true, true)); }
  | references_clause
  | PRIMARY KEY { MAKE($$, TreeBuilder::constraint(false, false, true)); }
  | PRIMARY KEY NOT NULL { MAKE($$, TreeBuilder::constraint(false, true, true)); };

table_constraints
  : table_constraint { MAKE($$, TreeBuilder::listOf(own($1))); }
  | table_constraints ',' table_constraint { MAKE($$, TreeBuilder::appended(own($1), own($3))); };

table_constraint
  : PRIMARY KEY '(' plain_name ')' { MAKE($$, TreeBuilder::forColumn(TreeBuilder::constraint(false, false, true), $4)); }
  | FOREIGN KEY '(' plain_name ')' references_clause { MAKE($$, TreeBuilder::forColumn(own($6), $4)); };

references_clause: REFERENCES plain_name '(' plain_name ')' referential_actions_opt
    { MAKE($$, TreeBuilder::reference($2, $4, $6)); };

referential_actions_opt
  : %empty { $$ = ReferenceActions{ReferentialAction::kNone, ReferentialAction::kNone}; }
  | ON DELETE action { $$ = ReferenceActions{$3, ReferentialAction::kNone}; }
  | ON UPDATE action { $$ = ReferenceActions{ReferentialAction::kNone, $3}; }
  | ON UPDATE action ON DELETE action { $$ = ReferenceActions{$6, $3}; }
  | ON DELETE action ON UPDATE action { $$ = ReferenceActions{$3, $6}; };

action
  : SET NULL { $$ = ReferentialAction::kSetNull; }
  | CASCADE { $$ = ReferentialAction::kCascade; }
  | RESTRICT { $$ = ReferentialAction::kRestrict; }
  | NO ACTION { $$ = ReferentialAction::kNoAction; }
  | SET DEFAULT { $$ = ReferentialAction::kSetDefault; };

plain_name: STRING | NAME;

with_opt: %empty { $$ = nullptr; } | WITH with_options { $$ = $2; };

with_options
  : LOCATION '=' NAME { MAKE($$, TreeBuilder::withLocation(nullptr, $3)); }
  | LOCATION '=' STRING { MAKE($$, TreeBuilder::withLocation(nullptr, $3)); }
  | CHARACTER SET '=' STRING { MAKE($$, TreeBuilder::withCharacterSet(nullptr, $4)); }
  | CHARSET '=' STRING { MAKE($$, TreeBuilder::withCharacterSet(nullptr, $3)); }
  | with_options ',' LOCATION '=' NAME { MAKE($$, TreeBuilder::withLocation(own($1), $5)); }
  | with_options ',' LOCATION '=' STRING { MAKE($$, TreeBuilder::withLocation(own($1), $5)); }
  | with_options ',' CHARACTER SET '=' STRING { MAKE($$, TreeBuilder::withCharacterSet(own($1), $6)); }
  | with_options ',' CHARSET '=' STRING { MAKE($$, TreeBuilder::withCharacterSet(own($1), $5)); };

alter_table
  : ALTER TABLE table_name ADD column_opt column_def { MAKE($$, TreeBuilder::alterAdd(own($3), own($6))); }
  | ALTER TABLE table_name DROP column_opt if_exists_opt column_designator
    { MAKE($$, TreeBuilder::alterDrop(own($3), $6 != 0, own($7))); }
  | ALTER TABLE table_name ALTER column_opt column_designator set_data_opt TYPE data_type
    { MAKE($$, TreeBuilder::alterType(own($3), own($6), own($9))); }
  | ALTER TABLE table_name ALTER column_opt column_designator SET DEFAULT insert_value
    { MAKE($$, TreeBuilder::alterDefault(own($3), own($6), own($9))); }
  | ALTER TABLE table_name ALTER column_opt column_designator DROP DEFAULT
    { MAKE($$, TreeBuilder::alter(WSQLStmtAlterTable::Action::kDropDefault, own($3), own($6))); }
  | ALTER TABLE table_name ALTER column_opt column_designator SET NOT NULL
    { MAKE($$, TreeBuilder::alter(WSQLStmtAlterTable::Action::kSetNotNull, own($3), own($6))); }
  | ALTER TABLE table_name ALTER column_opt column_designator DROP NOT NULL
    { MAKE($$, TreeBuilder::alter(WSQLStmtAlterTable::Action::kDropNotNull, own($3), own($6))); };

column_opt: %empty | COLUMN;

set_data_opt: %empty | SET DATA;

column_designator
  : STRING { MAKE($$, TreeBuilder::column($1)); }
  | column_ref | quoted_column_ref;

drop_table: DROP TABLE if_exists_opt table_name { MAKE($$, TreeBuilder::dropTable($3 != 0, own($4))); };

grant: GRANT grant_right PRIVILEGES column_list_opt ON table_name TO grantee
    { MAKE($$, TreeBuilder::privileges(true, $2 == 0, own($4), own($6), $8)); };

revoke: REVOKE revoke_right PRIVILEGES column_list_opt ON table_name FROM grantee
    { MAKE($$, TreeBuilder::privileges(false, $2 == 0, own($4), own($6), $8)); };

grant_right: ALL { $$ = 1; } | READ { $$ = 0; };

revoke_right: ALL { $$ = 1; } | WRITE { $$ = 0; };

grantee: NAME | STRING;

%%
