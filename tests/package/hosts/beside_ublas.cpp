// ublas has a class template `matrix` and operators for its expressions.
#include <boost/numeric/ublas/matrix.hpp>
#include <boost/numeric/ublas/symmetric.hpp>
#include <boost/numeric/ublas/vector.hpp>

using namespace boost::numeric::ublas;

#include <sinew/sinew.h>

double both()
{
    boost::numeric::ublas::matrix<double> theirs(2, 2, 1.0);
    boost::numeric::ublas::vector<double> const v(2, 2.0);
    ::matrix<double> ours(2, 2);
    ours(0, 0) = ours(1, 1) = 1;
    return prod(theirs, v)(0) + (-theirs)(0, 0) + (ours * std::vector<double>{1, 2})[1];
}
