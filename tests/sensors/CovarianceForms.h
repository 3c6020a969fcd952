#pragma once
// The covariance forms of a model's mappings: the same positions as the plain forms, and a
// covariance of zero whatever the covariance given, called through the CSM interface.

#include <gtest/gtest.h>

#include "tessel/csm/RasterGM.h"

namespace covariance_test {

inline void expectCovarianceFormsMatchPlainForms(const csm::RasterGM& model,
                                                 const csm::ImageCoord& image, double height) {
    const csm::EcefCoord plainGround = model.imageToGround(image, height, 1e-9);
    const csm::EcefCoordCovar ground = model.imageToGround(
        csm::ImageCoordCovar(image.line, image.samp, 4.0, 1.0, 4.0), height, 25.0, 1e-9);
    EXPECT_EQ(ground.x, plainGround.x);
    EXPECT_EQ(ground.y, plainGround.y);
    EXPECT_EQ(ground.z, plainGround.z);
    for (double value : ground.covariance) {
        EXPECT_EQ(value, 0.0);
    }
    const csm::ImageCoord plainImage = model.groundToImage(plainGround, 1e-9);
    const csm::ImageCoordCovar back =
        model.groundToImage(csm::EcefCoordCovar(plainGround.x, plainGround.y, plainGround.z, 9.0,
                                                1.0, 1.0, 9.0, 1.0, 9.0),
                            1e-9);
    EXPECT_EQ(back.line, plainImage.line);
    EXPECT_EQ(back.samp, plainImage.samp);
    for (double value : back.covariance) {
        EXPECT_EQ(value, 0.0);
    }
}

}  // namespace covariance_test
