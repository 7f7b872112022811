/// \file webp_writer.h
#pragma once
