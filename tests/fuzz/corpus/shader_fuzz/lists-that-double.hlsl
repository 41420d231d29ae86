H// Lists that double, in sums and in constants without number.
static const float a0 = {1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1};
static const float a1 = {a0,a0};
static const float a2 = {a1,a1};
static const float a3 = {a2,a2};
static const float a4 = {a3,a3};
static const float a5 = {a4,a4};
static const float a6 = {a5,a5};
static const float a7 = {a6,a6};
static const float a8 = {a7,a7};
static const float a9 = {a8,a8};
static const float a10 = {a9,a9};
static const float a11 = {a10,a10};
static const float b0 = a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11;
static const float b1 = a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11;
static const float b2 = a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11;
static const float b3 = a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11+a11;
